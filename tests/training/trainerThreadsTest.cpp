// Training steps with two threads, small enough for the thread sanitizer.
#include <vector>

#include <gtest/gtest.h>

#include "eval/evaluate.h"
#include "learning/trainerStep.h"
#include "support/randomGames.h"

namespace tarvonel
{

TEST(trainerThreads, aRunRepeatsItself)
{
    std::vector<trainingPosition> positions;
    playRandomGames({5, 4, 60, false}, [&](pos &position, const bruteForce::letterBoard &)
                    { positions.push_back(packPosition(position, expectedResult(egOf(balance(position)), 250))); });
    std::vector<float> learnt[2];
    for (std::vector<float> &weights : learnt)
    {
        trainerModel model;
        initialiseModel(model, makeLevels("base,region"), 1);
        threadPool pool(2);
        const workspacePointer workspace = makeWorkspace();
        for (int step = 0; step < 3; ++step)
            trainBatch(model, *workspace, pool, positions, {});
        const auto &rows = model.levelRows[1].weights;
        weights.assign(rows.begin(), rows.end());
        weights.insert(weights.end(), model.hidden1Weight.weights.begin(), model.hidden1Weight.weights.end());
    }
    EXPECT_EQ(learnt[0], learnt[1]);
}

} // namespace tarvonel
