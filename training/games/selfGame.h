// One game of the engine against itself, scored move by move.
#pragma once

#include <optional>

#include "games/gameFile.h"
#include "movegen/randomOpening.h"
#include "search/searchLimits.h"

namespace tarvonel
{

struct selfPlayPlan
{
    openingPlan opening;
    searchLimitValues limits = {.softNodes = 1500, .hardNodes = 10000}; ///< of each move
    bool quick = false;               ///< no search: moves by sampling, scores by quiescence of quiet positions
    int tries = 4;                    ///< moves that a quick choice looks at
    int openingLimit = widestOpening; ///< openings beyond this score are thrown away
    int winScore = 600;               ///< a game is decided when so much is seen
    int winPlies = 4;                 ///< in so many plies in a row
    int drawScore = 8;                ///< a game is drawn when no more than this is seen
    int drawPlies = 12;               ///< in so many plies in a row
    int drawFrom = 80;                ///< and not before this ply
    int longestGame = 400;            ///< plies; longer games count as drawn
};

/// Plays a game from an opening of its own; none if the opening was thrown away.
std::optional<storedGame> playSelfGame(posWithMoves &board, const selfPlayPlan &plan, randomSource &random);

} // namespace tarvonel
