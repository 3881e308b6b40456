// Time management: spreads the remaining time over the moves to the next time control, whose number is
// given or estimated from the game ply. `incrementFactor` stretches an estimate, more for a smaller
// increment relative to the clock.
#include "uci/goCommand.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "search/searchLimits.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

/// Rows apply up to and including their bounds.
struct fractionRow
{
    int maxThreads;
    double fraction;
};
constexpr fractionRow fractionByThreads[] = {{3, 0.66}, {31, 0.76}, {128, 0.86}, {maxThreads, 0.92}};

struct movesRow
{
    int maxPly;
    int moves;
};
constexpr int middleGamePly = 18, lateGamePly = 51;
constexpr movesRow movesByPly[] = {
    {middleGamePly - 1, 40}, {lateGamePly - 1, 22}, {80, 25}, {200, 20}, {std::numeric_limits<int>::max(), 15}};
constexpr int movesUnknownPly = 30;
constexpr double unknownPlyStretch = 1.4;

constexpr int manyThreads = 4;
constexpr double givenMovesFraction = 0.73, givenMovesFractionManyThreads = 0.8;
constexpr double openingStretch = 0.9, middleGameStretch = 1.1;
constexpr double ponderStretch = 1.1;

constexpr int minClockInIncrements = 100, maxClockInIncrements = 360;
constexpr double minIncrementFactor = 1.37;
constexpr float incrementFactorSlope = 0.0014615385F;

constexpr double maximumShareOfClock = 0.5;
constexpr int maximumInOptimal = 5;
constexpr int shortClockInOptimal = 4; ///< the clock is short if it has fewer optimal times left
constexpr float shortClockScale = 5.0F;
constexpr int lastMovesGiven = 4, lastMovesMaximum = 40;
constexpr int moveTimeToOptimal = 10;

template <typename T> int toInt(T value)
{
    constexpr T low = std::numeric_limits<int>::min();
    if constexpr (std::numeric_limits<T>::is_integer)
        return static_cast<int>(std::clamp<T>(value, low, std::numeric_limits<int>::max()));
    else // the upper bound is not a float
        return value >= -static_cast<T>(low) ? std::numeric_limits<int>::max() : static_cast<int>(std::max(value, low));
}

/// The number of moves, and the fraction of an equal part of the time for this one.
struct moveShare
{
    double fraction;
    int moves;
};

moveShare shareForGivenMoves(int moves, int ply)
{
    double fraction = engineOptions.threadCount < manyThreads ? givenMovesFraction : givenMovesFractionManyThreads;
    if (ply < middleGamePly)
        fraction *= openingStretch;
    else if (ply < lateGamePly)
        fraction *= middleGameStretch;
    return {fraction, moves};
}

moveShare shareForEstimatedMoves(int ply)
{
    const double fraction = std::ranges::find_if(fractionByThreads, [](const fractionRow &row)
                                                 { return engineOptions.threadCount <= row.maxThreads; })
                                ->fraction;
    if (ply == gamePlyUnknown)
        return {fraction * unknownPlyStretch, movesUnknownPly};
    return {fraction,
            std::ranges::find_if(movesByPly, [ply](const movesRow &row) { return ply <= row.maxPly; })->moves};
}

// The product is in single, the sum in double precision.
float incrementFactorFor(int time, int increment)
{
    const int clockInIncrements = std::clamp(time / std::max(increment, 1), minClockInIncrements, maxClockInIncrements);
    const float product = static_cast<float>(clockInIncrements - minClockInIncrements) * incrementFactorSlope;
    return static_cast<float>(minIncrementFactor + product);
}

/// The clock and the increments of all moves but one.
int timeToSpread(int time, int increment, int moves, bool isGiven)
{
    float stretched = static_cast<float>(moves);
    if (!isGiven)
        stretched *= searchLimits.incrementFactor;
    return toInt((std::int64_t{toInt(stretched)} - 1) * increment + time);
}

} // namespace

void allotTime()
{
    const colour side = mainPos.sideToMove;
    const int time = searchLimits.clock[side], increment = searchLimits.increment[side];
    const bool isGiven = searchLimits.movesToGoGiven && searchLimits.movesToGo > 0;

    moveShare share = isGiven ? shareForGivenMoves(searchLimits.movesToGo, searchLimits.gamePlyHint)
                              : shareForEstimatedMoves(searchLimits.gamePlyHint);
    searchLimits.movesToGo = share.moves;
    if (searchLimits.newGame)
    {
        searchLimits.newGame = false;
        searchLimits.incrementFactor = incrementFactorFor(time, increment);
    }
    if (engineOptions.ponderEnabled)
        share.fraction *= ponderStretch;

    const int total = timeToSpread(time, increment, share.moves, isGiven);
    const int available = toInt(std::int64_t{time} - engineOptions.moveOverhead);
    const std::int64_t equalPart = std::int64_t{total} / share.moves;
    int optimal = toInt(std::max(1.0, share.fraction * static_cast<double>(equalPart)));
    int maximum =
        share.moves == 1
            ? toInt(std::int64_t{total} - engineOptions.moveOverhead)
            : toInt(std::min(maximumShareOfClock * available, static_cast<double>(maximumInOptimal) * optimal));
    searchLimits.timeScale = 1.0F;
    if (!isGiven && available / optimal < shortClockInOptimal)
    {
        searchLimits.timeScale = shortClockScale;
        optimal /= 2;
        maximum /= 2;
    }
    else if (isGiven && share.moves == lastMovesGiven)
        maximum = std::max(maximum, lastMovesMaximum);

    const int moveTime = searchLimits.moveTime;
    if (moveTime != 0)
    {
        searchLimits.maximumTime = moveTime;
        searchLimits.optimalTime = toInt(std::int64_t{moveTime} * moveTimeToOptimal);
        return;
    }
    const int ceiling = std::max(available, 1); // the increment is added only after the move
    optimal = std::min(optimal, ceiling);
    searchLimits.optimalTime = optimal;
    searchLimits.maximumTime = std::min(std::max(maximum, optimal + 1), ceiling);
}

} // namespace tarvonel
