// The `go` command.
#pragma once

#include <cstdint>
#include <istream>

namespace tarvonel
{

/// Starts a search of `mainPos` with the limits that the rest of the line in `words` tells, and
/// returns while it runs. Waits for a search that still runs, whose limits stay as they are: with
/// those of this line it might not end for hours, and until then no `stop` could be read. Refuses
/// with a message if that search is infinite or ponders, or if there is no network.
void goCommand(std::istream &words);

/// Whether `go nodes N` limits the search, which then runs on the calling thread: such searches are
/// short, and another thread's wake-up costs as much. Set before the first `go`.
inline bool nodeLimitHolds = false;

/// The middle of `goCommand`: resets `searchLimits` and `pondering`, reads the rest of the line into
/// them and allots the time, which is measured from `startTimeMs` on. No search may run.
void prepareSearchLimits(std::istream &words, std::int64_t startTimeMs);

} // namespace tarvonel
