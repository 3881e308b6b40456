#include "platform/clock.h"

#include <chrono>
#include <thread>

namespace tarvonel
{

std::int64_t nanosecondsNow()
{
    const auto sinceStart = std::chrono::steady_clock::now().time_since_epoch();
    return std::chrono::duration_cast<std::chrono::nanoseconds>(sinceStart).count();
}

std::int64_t millisecondsNow()
{
    constexpr std::int64_t nanosecondsPerMillisecond = 1'000'000;
    return nanosecondsNow() / nanosecondsPerMillisecond;
}

void sleepMilliseconds(int span)
{
    if (span < 1)
        return;

    const auto deadline = std::chrono::steady_clock::now() + std::chrono::milliseconds(span);
    while (std::chrono::steady_clock::now() < deadline)
        std::this_thread::sleep_until(deadline);
}

} // namespace tarvonel
