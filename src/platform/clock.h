// The monotonic clock of time control, perft and the tools.
#pragma once

#include <cstdint>

namespace tarvonel
{

/// Reading of the monotonic clock in nanoseconds; only differences mean something.
std::int64_t nanosecondsNow();

/// The same clock in whole milliseconds.
std::int64_t millisecondsNow();

/// Sleeps at least `span` milliseconds, through early wake-ups; below 1 it returns at once.
void sleepMilliseconds(int span);

} // namespace tarvonel
