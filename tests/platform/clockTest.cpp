#include "platform/clock.h"

#include <chrono>

#include <gtest/gtest.h>

namespace tarvonel
{

TEST(clock, runsAndSleepsInItsUnits)
{
    using namespace std::chrono;
    constexpr int span = 30;
    const auto before = steady_clock::now();
    const std::int64_t nanoseconds = nanosecondsNow(), milliseconds = millisecondsNow();
    sleepMilliseconds(span);
    const std::int64_t passedMs = millisecondsNow() - milliseconds, passedNs = nanosecondsNow() - nanoseconds;
    const std::int64_t most = duration_cast<std::chrono::milliseconds>(steady_clock::now() - before).count() + 2;
    EXPECT_TRUE(passedMs >= span - 1 && passedMs <= most) << passedMs << " of " << most;
    EXPECT_TRUE(passedNs >= span * 1'000'000 && passedNs <= most * 1'000'000) << passedNs << " of " << most;
}

} // namespace tarvonel
