// The `go` command.
#pragma once

#include <cstdint>
#include <istream>

namespace tarvonel
{

/// Starts a search of `mainPos` within the limits in the rest of the line, and returns while it runs.
/// Waits for a search that still runs, which keeps its own limits; the clock of the new one starts
/// before the wait. Refuses while an infinite or ponder search runs, and without a network; without a
/// position to search, answers at once.
void goCommand(std::istream &words);

/// Whether `go nodes N` limits the search, which then runs on the calling thread: such searches are
/// short, and another thread's wake-up costs as much. Set before the first `go`.
inline bool nodeLimitHolds = false;

/// Resets `searchLimits` and `pondering`, reads the rest of the line into them and allots the time,
/// which counts from `startTimeMs`. No search may run.
void prepareSearchLimits(std::istream &words, std::int64_t startTimeMs);

} // namespace tarvonel
