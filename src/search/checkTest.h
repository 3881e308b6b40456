// Whether a move gives check, without making it.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Where checks can come from at one node, worked out once for all its moves.
struct checkSquares
{
    bitboard byType[pieceTypeCount]; ///< from where a man of the type would attack the enemy king
    bitboard discoverers;            ///< own men that stand alone between an own slider and that king
    int enemyKing;
};

/// For the side to move.
checkSquares findCheckSquares(const pos &position);

/// Whether the move, legal in the position, gives check. Plain moves and double steps are looked
/// up; the rare others are made on the board and taken back.
bool givesCheck(pos &position, int ply, const checkSquares &checks, moveCode move);

} // namespace tarvonel
