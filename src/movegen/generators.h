// Move generators. They write the moves of a position, with ordering scores, to the move stack.
//
// Each writes the moves from `slot` on and sets `listEnd` of the ply and `listStart` of the next ply to
// one past the last move. `inCheck` of the ply must be valid. `moveListReserve` free slots are enough
// for any list.
//
// The moves are pseudo-legal and must pass `isMoveLegal`. Exceptions: evasions are legal, and pinned
// knights, which can never move, appear only in recaptures. Within a group, moves are ordered by
// ascending square: pawn moves by destination, others by origin and then destination.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// `stage` of a ply whose list holds check evasions.
inline constexpr std::uint8_t evasionStage = 99;

/// Captures, promotions by capture (all four pieces) and en passant, scored by most valuable victim,
/// then least valuable attacker. In check generates all evasions instead and sets `stage` to
/// `evasionStage`. Writes `unpinned`; clears the extra byte of the first slot even for an empty list.
void generateCaptures(int ply, moveCode *slot, pos &position);

/// All other moves, unscored: quiet promotions, pawn steps, castling, piece moves. Not in check. Call
/// `generateCaptures` first, which sets `unpinned`. Clears the extra byte of the first slot as well.
void generateQuiets(int ply, moveCode *slot, pos &position);

/// Quiescence moves: captures, and promotions to a queen with or without capture. In check, all
/// evasions. Writes `unpinned`.
void generateQuiescenceMoves(int ply, moveCode *slot, pos &position);

/// Captures on the destination of the previous ply's move, promoting to a queen only, never en passant;
/// in check, all evasions. Out of check it neither writes `unpinned` nor skips pinned knights: test the
/// moves with `isMoveLegalSlow`. From ply 1 on.
void generateRecaptures(int ply, moveCode *slot, pos &position);

/// The king's square after castling: g1, c1, g8 or c8.
constexpr int castlingTarget(int wing, colour side) { return relativeSquare(side, wing == kingSide ? g1 : c1); }

/// Whether no other piece is in the way of king and rook and the squares between the king and its
/// target are not attacked. Does not test the target itself.
bool isCastlingPathFree(const pos &position, int wing, colour side);

} // namespace tarvonel
