#include "platform/clock.h"

#include <gtest/gtest.h>

namespace tarvonel
{

TEST(clock, neverRunsBackwards)
{
    std::int64_t last = nanosecondsNow();
    for (int reading = 0; reading < 100'000; ++reading)
    {
        const std::int64_t now = nanosecondsNow();
        ASSERT_GE(now, last);
        last = now;
    }
}

TEST(clock, millisecondsAreTheSameClock)
{
    constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
    const std::int64_t before = nanosecondsNow() / nanosecondsPerMillisecond;
    const std::int64_t between = millisecondsNow();
    const std::int64_t after = nanosecondsNow() / nanosecondsPerMillisecond;
    EXPECT_LE(before, between);
    EXPECT_LE(between, after);
}

TEST(clock, sleepLastsAtLeastItsSpan)
{
    for (const int span : {1, 7, 30})
    {
        const std::int64_t start = nanosecondsNow();
        sleepMilliseconds(span);
        EXPECT_GE(nanosecondsNow() - start, span * std::int64_t{1'000'000}) << span;
    }
}

TEST(clock, spanBelowOneDoesNotSleep)
{
    constexpr int calls = 10'000; // a second and more if each slept but a tick
    const std::int64_t start = millisecondsNow();
    for (int call = 0; call < calls; ++call)
    {
        sleepMilliseconds(0);
        sleepMilliseconds(-1000);
    }
    EXPECT_LT(millisecondsNow() - start, 500);
}

} // namespace tarvonel
