#include "tuner/optimiser.h"

#include <cmath>

#include "eval/evaluate.h"
#include "eval/evaluationSupport.h"
#include "tuner/tunerFixture.h"

namespace tarvonel
{

namespace
{

/// The mean error of the positions read, each with fresh tables, with the current K.
double errorByDefinition()
{
    double sum = 0;
    for (const tuningPosition &each : tuningPositions)
    {
        evaluationPosition fresh(each.fen);
        const int score = evaluate(0, *fresh);
        const int whiteScore = fresh->sideToMove == white ? score : -score;
        sum += std::pow(each.label - 1 / (1 + std::exp(-tuningK * whiteScore / 400)), 2);
    }
    return sum / static_cast<double>(tuningPositions.size());
}

} // namespace

class texelWorkerTest : public tunerFixture
{
};

TEST_F(texelWorkerTest, theErrorIsThatOfTheDefinitionOnAnyNumberOfThreads)
{
    read(randomFileText(300));
    for (const double k : {0.0, 3.55})
    {
        tuningK = k;
        const double expected = errorByDefinition();
        EXPECT_GT(expected, 0);
        for (const int threads : {1, 3, 7})
        {
            ASSERT_EQ(createTexelWorkers(threads, print), threads);
            const double error = meanError();
            EXPECT_NEAR(error, expected, 1e-13) << threads << " threads, K " << k;
            EXPECT_EQ(meanError(), error) << "a second pass gives the same to the last bit";
        }
    }
}

TEST_F(texelWorkerTest, cachesHideNoChangeOfATerm)
{
    read(randomFileText(1000));
    createTexelWorkers(2, print);
    for (combEval *term :
         {&tunableTerms.global.tempo, &tunableTerms.pawns.isolated[3], &tunableTerms.pieces.rookOpenFile})
    {
        const double before = meanError();
        *term += X(40, 40);
        EXPECT_NE(meanError(), before);
        *term -= X(40, 40);
        EXPECT_EQ(meanError(), before);
    }
}

} // namespace tarvonel
