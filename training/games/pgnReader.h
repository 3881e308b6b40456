// Games out of PGN files as match managers write them, with the engines' scores in the comments.
//
// What is read is tags, moves, and behind a move its comment "{+0.31/12 0.5s}": score in pawns from
// the mover's view, or "M" and the plies to mate, then the depth. A move whose comment tells no
// score, such as one from an opening book, counts as unscored. Damage costs the game it hits.
#pragma once

#include <istream>
#include <optional>
#include <string>

#include "games/gameFile.h"

namespace tarvonel
{

/// A text of games being read.
struct pgnReader
{
    std::istream &text;
    std::string nextLine{};    ///< already read: the first of the coming game
    std::uint64_t leftOut = 0; ///< games that were not taken
};

/// The next game that is whole, legal, and was decided on the board or by adjudication; nothing at
/// the end of the text. The board is worked on. `engineOptions.chess960` has to be set, for both
/// variants.
std::optional<storedGame> nextPgnGame(pgnReader &reader, posWithMoves &board);

/// The score in centipawns that the comment behind a move tells, `unscored` if none.
int commentScore(const std::string &comment);

} // namespace tarvonel
