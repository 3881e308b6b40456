// New scores for a recorded game, from deeper searches than it was played with.
#pragma once

#include "games/gameFile.h"
#include "games/positionFilter.h"
#include "search/searchLimits.h"
#include "uci/randomOpening.h"

namespace tarvonel
{

inline constexpr std::uint64_t hardPerSoft = 6; ///< nodes

struct rescorePlan
{
    double share = 0.08; ///< of the suitable positions
    positionFilter filter = {.firstPly = 12};
    searchLimitValues limits = {.softNodes = 1500}; ///< the hard limit is `hardPerSoft` times as many
};

/// Searches a random share of the game's suitable positions and gives them the new scores. All others lose
/// theirs, as do positions that the deeper search finds unsuitable and the rest of a game with an illegal
/// move. Returns the number of new scores. The search must be set up.
std::size_t rescoreGame(storedGame &game, posWithMoves &board, const rescorePlan &plan, randomSource &random);

} // namespace tarvonel
