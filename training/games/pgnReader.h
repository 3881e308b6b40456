// Reads games from PGN files of match managers, with the engines' scores in the comments.
//
// It reads tags, moves, and after a move its comment "{+0.31/12 0.5s}": score in pawns from the
// mover's view, or "M" and the plies to mate, then the depth. A move whose comment holds no score,
// such as one from an opening book, is unscored. Damage costs only the game it hits.
#pragma once

#include <istream>
#include <optional>
#include <string>

#include "games/gameFile.h"

namespace tarvonel
{

/// A PGN text being read.
struct pgnReader
{
    std::istream &text;
    std::string nextLine{};    ///< already read: the first of the next game
    std::uint64_t leftOut = 0; ///< games that were not accepted
};

/// The next game that is whole and legal and was decided on the board or by adjudication; none at the
/// end of the text. Games decided by the clock, a crash or the like are left out, whether the tag
/// Termination or a comment on the end says so. Uses `board` for the replay. `engineOptions.chess960`
/// must be set; that covers both variants.
std::optional<storedGame> nextPgnGame(pgnReader &reader, posWithMoves &board);

/// The score in centipawns of a comment after a move, `unscored` if it has none.
int commentScore(const std::string &comment);

} // namespace tarvonel
