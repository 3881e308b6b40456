#include "platform/clock.h"

#include <gtest/gtest.h>

namespace tarvonel
{

constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;

TEST(clock, oneClockInTwoUnitsNeverRunsBackwards)
{
    for (int reading = 0; reading < 100'000; ++reading)
    {
        const std::int64_t before = nanosecondsNow();
        const std::int64_t between = millisecondsNow();
        const std::int64_t after = nanosecondsNow();
        ASSERT_LE(before, after);
        ASSERT_LE(before / nanosecondsPerMillisecond, between);
        ASSERT_LE(between, after / nanosecondsPerMillisecond);
    }
}

TEST(clock, sleepLastsItsSpanAndNotAtAllBelowOne)
{
    for (const int span : {1, 7, 30})
    {
        const std::int64_t start = nanosecondsNow();
        sleepMilliseconds(span);
        EXPECT_GE(nanosecondsNow() - start, span * nanosecondsPerMillisecond) << span;
    }
    const std::int64_t start = millisecondsNow();
    for (int call = 0; call < 20'000; ++call) // a second and more if each slept but a tick
        sleepMilliseconds(call % 2 == 0 ? 0 : -1000);
    EXPECT_LT(millisecondsNow() - start, 500);
}

} // namespace tarvonel
