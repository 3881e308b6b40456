#include "platform/clock.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace tarvonel
{

namespace
{

constexpr std::int64_t nanosecondsPerSecond = 1'000'000'000;
constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;

/// Ticks of the performance counter in a second; fixed while the system runs.
std::int64_t ticksPerSecond()
{
    static const std::int64_t frequency = []
    {
        LARGE_INTEGER ticks;
        QueryPerformanceFrequency(&ticks);
        return ticks.QuadPart;
    }();
    return frequency;
}

} // namespace

std::int64_t nanosecondsNow()
{
    LARGE_INTEGER ticks;
    QueryPerformanceCounter(&ticks);

    // Whole seconds apart, as ticks times a milliard would leave the range within minutes.
    const std::int64_t frequency = ticksPerSecond();
    const std::int64_t seconds = ticks.QuadPart / frequency;
    const std::int64_t rest = ticks.QuadPart % frequency;
    return seconds * nanosecondsPerSecond + rest * nanosecondsPerSecond / frequency;
}

std::int64_t millisecondsNow() { return nanosecondsNow() / nanosecondsPerMillisecond; }

void sleepMilliseconds(int span)
{
    if (span < 1)
        return;

    const std::int64_t deadline = nanosecondsNow() + span * nanosecondsPerMillisecond;
    for (std::int64_t left = deadline - nanosecondsNow(); left > 0; left = deadline - nanosecondsNow())
        Sleep(static_cast<DWORD>((left + nanosecondsPerMillisecond - 1) / nanosecondsPerMillisecond));
}

} // namespace tarvonel
