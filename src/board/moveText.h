// Moves as text, both ways.
#pragma once

#include <string>

#include "board/pos.h"

namespace tarvonel
{

/// The text of a move made by `side`: "e2e4", "e7e8q", "e1g1"; in Chess960 castling is written as
/// the king taking its own rook. Move 0 gives "a1a1".
std::string moveText(moveCode move, colour side, const pos &position);

/// Reads move text on `position` at ply 0. Trusts that the move is legal, but judges its form:
/// returns 0 for text that is too short, off the board, from an empty square or with an unknown
/// promotion letter.
moveCode parseMoveText(const std::string &text, const pos &position);

} // namespace tarvonel
