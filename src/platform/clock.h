// The monotonic clock. Only differences between readings mean something.
#pragma once

#include <chrono>
#include <cstdint>
#include <thread>

namespace tarvonel
{

inline std::int64_t nanosecondsNow()
{
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count();
}

inline std::int64_t millisecondsNow()
{
    constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
    return nanosecondsNow() / nanosecondsPerMillisecond;
}

/// Sleeps for at least `span` milliseconds; below 1 it returns at once.
inline void sleepMilliseconds(int span) { std::this_thread::sleep_for(std::chrono::milliseconds(span)); }

} // namespace tarvonel
