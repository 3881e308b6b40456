// Move generators: they write the moves of a position, with their ordering scores, on to the move
// stack.
//
// All of them take the ply, the first free slot of the move stack and the position, write the moves
// from that slot on, and leave `listEnd` of the ply and `listStart` of the next ply one past the
// last move. `inCheck` of the ply must be valid before the call. The end of the move stack is the
// caller's concern: `moveListReserve` slots hold any list.
//
// What comes out is pseudo-legal and goes through `isMoveLegal`, with two exceptions: a pinned
// knight, which can never move, stands in no list but that of recaptures, and evasions are legal as
// they stand. Within a group moves come from the lowest square to the highest: for pawns by their
// destination, for other men by origin and then destination.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// `stage` of a ply whose list holds check evasions.
inline constexpr std::uint8_t evasionStage = 99;

/// Captures, promotions by capture (all four pieces) and en passant, scored by the most valuable
/// victim and then the cheapest attacker. In check: all evasions instead, and `stage` is set to
/// `evasionStage`. Writes `unpinned`, and 0 into the extra byte of the slot before anything else.
void generateCaptures(int ply, moveCode *slot, pos &position);

/// All other moves, unscored: quiet promotions, pawn steps, castling, piece moves. Never in check.
/// Reads `unpinned`, so `generateCaptures` comes first. Writes 0 into the extra byte of the slot
/// before anything else.
void generateQuiets(int ply, moveCode *slot, pos &position);

/// All legal moves out of check. Reads `unpinned`: called by the other generators once they have
/// found the pins.
void generateEvasions(int ply, moveCode *slot, pos &position);

/// What quiescence tries: captures and promotions to a queen, by capture or not. In check: all
/// evasions. Writes `unpinned`.
void generateQuiescenceMoves(int ply, moveCode *slot, pos &position);

/// Captures on the square that the move played at the previous ply went to, promoting to a queen
/// only and never en passant; in check all evasions. Not in check `unpinned` is left stale and
/// pinned knights come out too, so the moves need the test without that field. From ply 1 on.
void generateRecaptures(int ply, moveCode *slot, pos &position);

/// The square where the king of `side` ends when it castles: g1, c1, g8 or c8.
constexpr int castlingTarget(int wing, colour side) { return relativeSquare(side, wing == kingSide ? g1 : c1); }

/// Whether nothing stands in the way of king and rook, the two of them apart, and the squares
/// between the king and its target are not attacked. The target's own safety is not looked at.
bool isCastlingPathFree(const pos &position, int wing, colour side);

} // namespace tarvonel
