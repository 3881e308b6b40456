// The `go` command.
#pragma once

#include <istream>

namespace tarvonel
{

/// Starts a search of `mainPos` with the limits that the rest of the line in `words` tells, and
/// returns while it runs. Waits for a search that still runs; refuses with a message if that one is
/// infinite or ponders, or if there is no network.
void goCommand(std::istream &words);

/// Words without a value that make a search endless. They are kept back until the search before
/// has ended: that one would otherwise become endless, and nothing could end it.
struct endlessWords
{
    bool ponder = false;
    bool infinite = false;
};

/// The first half of `goCommand`: starts the clock, resets `searchLimits`, reads the rest of the
/// line into it and allots the time.
endlessWords prepareSearchLimits(std::istream &words);

} // namespace tarvonel
