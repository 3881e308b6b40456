// The limits of the current search: depth, nodes and time. All times are in milliseconds.
//
// Threads: set while no search runs, by the UCI loop at each `go` or by `runSearch`. Search threads only
// read them, except `elapsedMs`, which all of them write.
#pragma once

#include <algorithm>
#include <cstdint>
#include <limits>

#include "board/square.h"
#include "platform/clock.h"
#include "platform/relaxed.h"

namespace tarvonel
{

inline constexpr int defaultPollInterval = 4096; ///< alpha-beta nodes between checks of the clock
inline constexpr int budgetPollInterval = 127;   ///< the same with a hard node limit
inline constexpr int gamePlyUnknown = 1024;
inline constexpr int unlimitedTime = std::numeric_limits<int>::max();

struct searchLimitValues
{
    std::uint64_t nodes = 0;              ///< of `go nodes`; has an effect only with `nodeLimitHolds`
    relaxed<std::uint64_t> elapsedMs = 0; ///< since `startTimeMs`, as last measured by a search thread
    std::int64_t startTimeMs = 0;
    float timeScale = 1.0F;        ///< factor on the elapsed time compared with `optimalTime`
    float incrementFactor = 1.37F; ///< stretches the expected number of moves; computed once per game
    int clock[colourCount] = {0, 0};
    int increment[colourCount] = {0, 0};
    int movesToGo = 0;
    int gamePlyHint = 0;             ///< ply of the game, or `gamePlyUnknown`
    int depthLimit = 0;              ///< iterations, 0 for no limit
    int mateLimit = 0;               ///< of `go mate`; has no effect
    int moveTime = 0;                ///< fixed time for this move, 0 for none
    int optimalTime = unlimitedTime; ///< soft limit, checked after each iteration
    int maximumTime = unlimitedTime; ///< hard limit, checked inside the tree
    int pollInterval = defaultPollInterval;
    std::uint64_t softNodes = 0; ///< no iteration starts beyond this number; 0 for no limit
    std::uint64_t hardNodes = 0; ///< nodes of one thread that end the search; 0 for no limit
    bool infinite = false;
    bool movesToGoGiven = false;
    bool newGame = true; ///< the next allotment computes `incrementFactor`
};

inline searchLimitValues searchLimits;

/// The time factor after an iteration with `changes` best move changes or repeated fails. Instability
/// extends the time for the move, stability shortens it.
inline double nextTimeFactor(double factor, int changes)
{
    constexpr double stableFactor = 0.9;      // per stable iteration
    constexpr double instabilityWeight = 0.2; // per change or repeated fail
    constexpr double instabilityDecay = 0.8;
    constexpr double minFactor = 0.6, maxFactor = 2.0;
    constexpr int maxStableChanges = 1;
    if (changes <= maxStableChanges)
        factor *= stableFactor;
    else
        factor = (factor <= 1.0 ? 1.0 : instabilityDecay * factor) + changes * instabilityWeight;
    return std::clamp(factor, minFactor, maxFactor);
}

/// Whether the time is up after an iteration that ended `elapsedMs` after the `go`.
inline bool isSoftLimitPassed(const searchLimitValues &limits, std::uint64_t elapsedMs, double timeFactor)
{
    const float elapsed = static_cast<float>(elapsedMs) * limits.timeScale;
    return elapsed > limits.optimalTime * timeFactor;
}

/// Writes the time since the `go` to `elapsedMs` and returns it.
inline std::uint64_t measureElapsed()
{
    searchLimits.elapsedMs = static_cast<std::uint64_t>(millisecondsNow() - searchLimits.startTimeMs);
    return searchLimits.elapsedMs;
}

} // namespace tarvonel
