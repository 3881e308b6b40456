// Whether a move gives check, without making it.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Where checks can come from, computed once per node.
struct checkSquares
{
    bitboard byType[pieceTypeCount]; ///< squares from which a piece of the type attacks the enemy king
    bitboard discoverers;            ///< own pieces that block one of their own sliders from that king
    int enemyKing;
};

/// For the side to move.
checkSquares findCheckSquares(const pos &position);

/// Whether a legal move gives check. Plain moves and double steps are looked up; the rare others are
/// made on the board and unmade.
bool givesCheck(pos &position, int ply, const checkSquares &checks, moveCode move);

} // namespace tarvonel
