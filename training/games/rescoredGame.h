// New scores for a recorded game, from deeper searches than it was played with.
#pragma once

#include "games/gameFile.h"
#include "games/positionFilter.h"
#include "uci/randomOpening.h"

namespace tarvonel
{

inline constexpr std::uint64_t hardPerSoft = 6; ///< nodes

struct rescorePlan
{
    double share = 0.08; ///< of the suitable positions
    positionFilter filter = {.firstPly = 12};
    std::uint64_t nodes = 1500;       ///< soft limit; the hard limit is `hardPerSoft` times as many
    std::uint64_t variationNodes = 0; ///< the same of the first search of `scoreVariation`
};

/// Searches a random share of the game's suitable positions and gives them the new scores. All others lose
/// theirs, as do positions that the deeper search finds unsuitable and the rest of a game with an illegal
/// move. Returns the number of new scores. The search must be set up.
std::size_t rescoreGame(storedGame &game, posWithMoves &board, const rescorePlan &plan, randomSource &random);

/// Searches a random suitable position of the game with `variationNodes` and gives the quiet position in
/// which the principal variation ends the score of a deeper search. Returns the line as a game that starts
/// at the chosen position: its last move is the best in the final position and has the score. Without moves
/// if the line does not end in a suitable position.
///
/// The static evaluation of that position decided the first search, which sought out its errors: they are
/// larger than at the positions of games.
storedGame scoreVariation(const storedGame &game, posWithMoves &board, const rescorePlan &plan, randomSource &random);

} // namespace tarvonel
