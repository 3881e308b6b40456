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

class texelWorkerTest : public tunerFixture
{
};

TEST(tuningSliceTest, theLastThreadTakesTheRemainder)
{
    const std::size_t cases[][5] = {{10, 3, 0, 0, 3}, {10, 3, 1, 3, 6}, {10, 3, 2, 6, 10}, {2, 4, 0, 0, 0},
                                    {2, 4, 3, 0, 2},  {7, 1, 0, 0, 7},  {0, 2, 1, 0, 0}};
    for (const auto &[positions, threads, index, first, end] : cases)
    {
        const tuningSlice slice = sliceOf(positions, static_cast<int>(threads), static_cast<int>(index));
        EXPECT_EQ(std::pair(slice.first, slice.end), std::pair(first, end))
            << positions << " on " << threads << ", " << index;
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
    EXPECT_EQ(printed, "Lets go\nLets go\n") << "each thread in a line of its own";
    EXPECT_TRUE(std::isnan(meanError()));
}

} // namespace tarvonel
