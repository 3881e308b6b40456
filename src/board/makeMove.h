// Making and unmaking moves: the step from ply p to p + 1 and back.
//
// Moves are trusted to be legal. Nothing is allocated and nothing loops; what cannot be computed
// back is saved in info[p + 1].
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Makes a legal move at `ply`: board, bitboards, keys, sums, phase, rights, fifty-move count, key
/// history, and the marks that tell the network what changed. The caller sets `playedMove` of the
/// ply and `inCheck` of the next.
void makeMove(pos &position, int ply, moveCode move);

/// Undoes `makeMove` exactly, but for info[ply + 1] and key history beyond `keyCount`.
void unmakeMove(pos &position, int ply, moveCode move);

/// Passes the turn. Not part of the repetition history and not counted by the fifty-move rule.
/// Returns the key to hand to `unmakeNullMove`.
std::uint64_t makeNullMove(pos &position, int ply);
void unmakeNullMove(pos &position, std::uint64_t savedKey);

/// The cheap form for legality tests: `board`, `bitboards` and `captured` of the next ply alone.
/// The side to move stays.
void makeBoardOnly(pos &position, int ply, moveCode move);
void unmakeBoardOnly(pos &position, int ply, moveCode move);

/// Whether the side to move may play `move`, otherwise sound, without leaving its king attacked:
/// makes it on the board alone, looks, and takes it back.
bool leavesKingSafe(pos &position, int ply, moveCode move);

/// Plays a game move at ply 0 for good: the position stays at ply 0. When the key history is full
/// its oldest half goes.
void playGameMove(pos &position, moveCode move);

/// The code of the man that makes the move, for `playedMove` and the transposition table: `move`
/// has been made already, by the side that is no longer to move.
inline int movedPieceAfter(const pos &position, moveCode move)
{
    const int flag = moveFlagOf(move);
    const colour mover = opponent(position.sideToMove);
    return flag >= 1 && flag <= enPassantCapture ? whitePawn + mover : position.board[moveTo(move)];
}

} // namespace tarvonel
