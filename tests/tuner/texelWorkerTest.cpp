#include "tuner/texelWorker.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <functional>

#include "eval/evalTerms.h"
#include "eval/evaluate.h"
#include "tuner/tunerFixture.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

/// The mean error by its definition, by the shipped terms.
double errorByDefinition()
{
    double sum = 0;
    for (const tuningPosition &each : tuningPositions)
    {
        const double probability = 1 / (1 + std::exp(-tuningK * freshWhiteScore(each.fen) / 400));
        sum += std::pow(each.label - probability, 2);
    }
    return sum / static_cast<double>(tuningPositions.size());
}

} // namespace

class texelWorkerTest : public tunerFixture
{
};

TEST(tuningSliceTest, theLastThreadTakesTheRemainder)
{
    struct sliceCase
    {
        std::size_t positions;
        int threads, index;
        std::size_t first, end;
    };
    for (const sliceCase &each : {sliceCase{10, 3, 0, 0, 3},
                                  {10, 3, 1, 3, 6},
                                  {10, 3, 2, 6, 10},
                                  {2, 4, 0, 0, 0},
                                  {2, 4, 3, 0, 2},
                                  {7, 1, 0, 0, 7},
                                  {0, 2, 1, 0, 0}})
    {
        const tuningSlice slice = sliceOf(each.positions, each.threads, each.index);
        EXPECT_EQ(slice.first, each.first) << each.positions << " on " << each.threads << ", " << each.index;
        EXPECT_EQ(slice.end, each.end) << each.positions << " on " << each.threads << ", " << each.index;
    }
}

TEST_F(texelWorkerTest, theErrorIsThatOfTheDefinitionOnAnyNumberOfThreads)
{
    read(randomFileText(400));
    const auto isHandSet = [](const tuningPosition &each) { return std::abs(endGameBalance(each.head)) >= 400; };
    ASSERT_GT(std::ranges::count_if(tuningPositions, isHandSet), 100);
    ASSERT_GT(std::ranges::count_if(tuningPositions, std::not_fn(isHandSet)), 100);

    for (const double k : {0.0, 1.25, 3.55})
    {
        tuningK = k;
        const double expected = errorByDefinition();
        EXPECT_GT(expected, 0);
        for (const int threads : {1, 2, 3, 7})
        {
            ASSERT_EQ(createTexelWorkers(threads, print), threads);
            const double error = meanError();
            EXPECT_NEAR(error, expected, 1e-13) << threads << " threads, K " << k;
            EXPECT_EQ(meanError(), error) << "a second pass gives the same to the last bit";
        }
    }
}

TEST_F(texelWorkerTest, eachThreadAnnouncesItselfInALineOfItsOwn)
{
    createTexelWorkers(3, print);
    EXPECT_EQ(printed, "Lets go\nLets go\nLets go\n");
}

TEST_F(texelWorkerTest, cachesHideNoChangeOfATerm)
{
    read(randomFileText(200));
    createTexelWorkers(2, print);
    for (combEval *term :
         {&tunableTerms.frame.tempo, &tunableTerms.pawns.isolated[3], &tunableTerms.pieces.rookOpenFile})
    {
        const double before = meanError();
        *term += X(40, 40);
        EXPECT_NE(meanError(), before);
        *term -= X(40, 40);
        EXPECT_EQ(meanError(), before);
    }
}

TEST_F(texelWorkerTest, noPositionsGiveNoNumber)
{
    createTexelWorkers(2, print);
    EXPECT_TRUE(std::isnan(meanError()));
}

} // namespace tarvonel
