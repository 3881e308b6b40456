// Limits and clock figures of the current search. All times are milliseconds.
//
// Threads: written by the console at each `go`, while no search runs, and read by all search
// threads, which write only `elapsedMs`. The console alone uses `gamePlyHint` and `newGame`.
#pragma once

#include <cstdint>

#include "board/square.h"
#include "platform/relaxed.h"

namespace tarvonel
{

inline constexpr int defaultPollInterval = 4096; ///< alpha-beta nodes between clock checks
inline constexpr int gamePlyUnknown = 1024;

struct searchLimitValues
{
    relaxed<std::uint64_t> nodes = 0;     ///< of `go nodes`; nothing reads it
    relaxed<std::uint64_t> elapsedMs = 0; ///< since `startTimeMs`, as last measured by a search thread
    relaxed<std::int64_t> startTimeMs = 0;
    relaxed<float> timeScale = 0.0F;        ///< factor on elapsed time in the soft decision
    relaxed<float> incrementFactor = 1.37F; ///< stretch of the number of moves, once per game
    relaxed<int> clock[colourCount] = {0, 0};
    relaxed<int> increment[colourCount] = {0, 0};
    relaxed<int> movesToGo = 0;
    relaxed<int> gamePlyHint = 0; ///< how far the game has come; `gamePlyUnknown` if that is open
    relaxed<int> depthLimit = 0;  ///< iterations, 0 for no limit
    relaxed<int> mateLimit = 0;   ///< of `go mate`; nothing reads it
    relaxed<int> moveTime = 0;    ///< fixed time for this move, 0 for none
    relaxed<int> optimalTime = 0; ///< soft limit, weighed after each iteration
    relaxed<int> maximumTime = 0; ///< hard limit, looked at inside the tree
    relaxed<int> pollInterval = 0;
    relaxed<bool> infinite = false;
    relaxed<bool> movesToGoGiven = false;
    relaxed<bool> newGame = true; ///< the next allotment works out `incrementFactor`
};

inline searchLimitValues searchLimits;

/// Measures the time since the `go` into `elapsedMs` and returns it.
std::uint64_t measureElapsed();

} // namespace tarvonel
