// What ends the current search: limits of depth, nodes and time. All times are milliseconds.
//
// Threads: set while no search runs, by the console at each `go` or by `runSearch`. The search
// threads only read them, but for `elapsedMs`, which each of them writes.
#pragma once

#include <cstdint>
#include <limits>

#include "board/square.h"
#include "platform/relaxed.h"

namespace tarvonel
{

inline constexpr int defaultPollInterval = 4096; ///< alpha-beta nodes between looks at the clock
inline constexpr int budgetPollInterval = 127;   ///< the same with a hard budget of nodes
inline constexpr int gamePlyUnknown = 1024;
inline constexpr int unlimitedTime = std::numeric_limits<int>::max();

struct searchLimitValues
{
    std::uint64_t nodes = 0;              ///< of `go nodes`; nothing reads it
    relaxed<std::uint64_t> elapsedMs = 0; ///< since `startTimeMs`, as last measured by a search thread
    std::int64_t startTimeMs = 0;
    float timeScale = 1.0F;        ///< factor on elapsed time in the soft decision
    float incrementFactor = 1.37F; ///< stretch of the number of moves, once per game
    int clock[colourCount] = {0, 0};
    int increment[colourCount] = {0, 0};
    int movesToGo = 0;
    int gamePlyHint = 0;             ///< how far the game has come; `gamePlyUnknown` if that is open
    int depthLimit = 0;              ///< iterations, 0 for no limit
    int mateLimit = 0;               ///< of `go mate`; nothing reads it
    int moveTime = 0;                ///< fixed time for this move, 0 for none
    int optimalTime = unlimitedTime; ///< soft limit, weighed after each iteration
    int maximumTime = unlimitedTime; ///< hard limit, looked at inside the tree
    int pollInterval = defaultPollInterval;
    std::uint64_t softNodes = 0; ///< no iteration begins beyond; 0 for no limit, as at every `go`
    std::uint64_t hardNodes = 0; ///< a thread that comes across so many of its own ends the search; the same
    bool infinite = false;
    bool movesToGoGiven = false;
    bool newGame = true; ///< the next allotment works out `incrementFactor`
};

inline searchLimitValues searchLimits;

/// Measures the time since the `go` into `elapsedMs` and returns it.
std::uint64_t measureElapsed();

} // namespace tarvonel
