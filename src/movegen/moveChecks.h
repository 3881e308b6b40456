// Checks on moves: whether a generated move leaves the own king safe, whether a move from elsewhere
// (transposition table, killers, counter moves) can be played at all; and the list of legal moves.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// `isMoveLegal` without the help of `unpinned`: for lists whose generator does not write it.
/// Changes the board only within the call.
bool isMoveLegalSlow(pos &position, int ply, moveCode move);

/// Whether a move generated at this ply, not in check, leaves the own king safe. Evasions are
/// legal as they stand. `unpinned` of the ply must be valid.
inline bool isMoveLegal(pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    if ((position.info[ply].unpinned & bit(from)) != 0 && !isKing(position.board[from]) && !isEnPassant(move))
        return true;
    return isMoveLegalSlow(position, ply, move);
}

/// Whether a move that was legal in some position, its extra byte the moving piece, can be played
/// in this one. It may still leave the own king attacked. Reads `inCheck`, `enPassant` and
/// `castling` of the ply. In Chess960 castling with a king already on its target is refused.
bool isMoveValid(const pos &position, int ply, moveCode move);

/// Writes the legal moves from `slot`, the ply's `listStart`, on and computes `inCheck` of the ply.
/// They stand in the order of generation, but that an illegal one is replaced by the list's last.
void buildLegalList(int ply, moveCode *slot, pos &position);

/// Number of legal moves. Computes `inCheck` of the ply and leaves the list as generated: in check
/// all legal moves, otherwise the pseudo-legal ones.
int countLegalMoves(int ply, moveCode *slot, pos &position);

} // namespace tarvonel
