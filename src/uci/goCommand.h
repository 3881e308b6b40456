// The `go` command and its time management.
#pragma once

#include <cstdint>
#include <istream>

namespace tarvonel
{

/// Starts a search of `mainPos` with the limits in the rest of the line, and returns while it runs. Waits
/// for a running search, which keeps its own limits; the clock of the new one starts before the wait.
/// Refused during an infinite or ponder search, and without a network. Answers at once if there is no
/// position to search.
void goCommand(std::istream &words);

/// Whether `go nodes N` limits the search. It then runs on the calling thread, because waking another one
/// takes as long as such a short search. Set before the first `go`.
inline bool nodeLimitHolds = false;

/// Resets `searchLimits` and `pondering`, reads the rest of the line into them and allots the time, which
/// counts from `startTimeMs`. No search may run.
void prepareSearchLimits(std::istream &words, std::int64_t startTimeMs);

/// Computes `optimalTime`, `maximumTime` and `timeScale` of `searchLimits` from its clocks, the options and
/// the side to move in `mainPos`, and at the first move of a game `incrementFactor`. Saturates at the
/// bounds of 32 bits.
void allotTime();

} // namespace tarvonel
