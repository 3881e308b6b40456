#include "search/search.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "search/score.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"

namespace tarvonel
{
namespace
{

class quiescenceSearch : public testing::Test
{
  protected:
    void SetUp() override { prepareSearchTest(); }

    /// Score in the full window; `nodes` becomes the nodes of this call.
    int resolve(workbench &bench, int qDepth, int alpha = -infiniteScore, int beta = infiniteScore)
    {
        const std::uint64_t before = bench->quiescenceNodes;
        const int score = quiescence(bench.ply, qDepth, alpha, beta, *bench);
        nodes = bench->quiescenceNodes - before;
        return score;
    }
    std::uint64_t nodes = 0;
};

TEST_F(quiescenceSearch, checksAreAnsweredDownToTheLastEvasionDepth)
{
    for (const bool isAnswered : {true, false})
    {
        workbench bench("r5k1/8/8/8/8/8/8/4K3 b - - 0 1");
        bench.play("a8e8");
        const int score = resolve(bench, isAnswered ? -13 : -14);
        EXPECT_EQ(nodes > 1, isAnswered);
        EXPECT_GT(score, -mateThreshold) << "no mate score for want of evasions";
    }
}

TEST_F(quiescenceSearch, lastPlyIsEvaluated)
{
    workbench bench(startPositionFen);
    std::mt19937 random(3);
    while (bench.ply < maxPly)
    {
        const std::vector<moveCode> moves = bench.legalMoves();
        ASSERT_FALSE(moves.empty()) << "take another seed";
        bench.play(moves[random() % moves.size()]);
    }
    const int score = evaluate(maxPly, *bench);
    EXPECT_EQ(resolve(bench, 0), score);
    EXPECT_EQ(nodes, 1U);
    EXPECT_EQ(alphaBeta(maxPly, 5, -infiniteScore, infiniteScore, *bench), score);
    EXPECT_EQ(bench->searchNodes, 1U);
}

TEST_F(quiescenceSearch, fullMoveStackIsEvaluated)
{
    for (const bool isFull : {false, true})
    {
        workbench bench("6k1/8/8/3p4/4P3/8/8/6K1 b - - 0 1");
        bench.play("g8g7");
        bench.node().listStart = bench.node(0).listStart + moveStackSize - moveListReserve + (isFull ? 1 : 0);
        resolve(bench, 0);
        EXPECT_EQ(nodes == 1, isFull);
        const std::uint64_t before = bench->searchNodes;
        const int score = alphaBeta(bench.ply, 2, -infiniteScore, infiniteScore, *bench);
        EXPECT_EQ(bench->searchNodes == before + 1, isFull);
        if (isFull)
        {
            EXPECT_EQ(score, evaluate(bench.ply, *bench));
        }
    }
}

} // namespace
} // namespace tarvonel
