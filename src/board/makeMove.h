// Making and unmaking moves: the step from ply p to p + 1 and back.
//
// Moves must be legal. Unmake restores from info[p + 1] what it cannot recompute.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Makes a legal move at `ply`: updates board, bitboards, keys, sums, phase, rights, fifty-move count,
/// key history, and the piece changes for the network. The caller sets `playedMove` of the ply and
/// `inCheck` of the next.
void makeMove(pos &position, int ply, moveCode move);

/// Reverts `makeMove` except for info[ply + 1] and the key history beyond `keyCount`.
void unmakeMove(pos &position, int ply, moveCode move);

/// Makes a null move. Changes neither the key history nor the fifty-move count. Returns the key for
/// `unmakeNullMove`.
std::uint64_t makeNullMove(pos &position, int ply);
void unmakeNullMove(pos &position, std::uint64_t savedKey);

/// Cheap make for legality tests: changes only `board`, `bitboards` and `captured` of the next ply.
/// The side to move stays the same.
void makeBoardOnly(pos &position, int ply, moveCode move);
void unmakeBoardOnly(pos &position, int ply, moveCode move);

/// Whether a pseudo-legal move leaves the mover's king safe; makes and unmakes it on the board.
bool leavesKingSafe(pos &position, int ply, moveCode move);

/// Plays a move of the game, which cannot be unmade; the position stays at ply 0. Drops the older half of
/// the key history when it is full.
void playGameMove(pos &position, moveCode move);

/// The piece that made `move`, for `playedMove` and the transposition table. The move has been made.
inline int movedPieceAfter(const pos &position, moveCode move)
{
    const int flag = moveFlagOf(move);
    const colour mover = opponent(position.sideToMove);
    return flag >= 1 && flag <= enPassantCapture ? whitePawn + mover : position.board[moveTo(move)];
}

/// Consistency checks for assertions and tests: whether board and bitboards agree; and whether keys,
/// sums and phase also equal their full computation at `ply`.
bool isBoardConsistent(const pos &position);
bool isConsistent(const pos &position, int ply);

} // namespace tarvonel
