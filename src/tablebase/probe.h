// True values of positions from the endgame tables.
//
// The files take no account of en passant captures, may store too low a value where a capture exists,
// and may hold distances for one side to move only; these probes search the captures and, where they
// must, one move ahead. They know nothing of castling: do not ask about positions with castling rights.
//
// `success` tells what a value rests on: 0 nothing (a table is missing; the value means nothing then),
// 1 a table, 2 a capture or an en passant capture, so that a zeroing move reaches it.
//
// Threads: any number at once. Nothing is allocated but on the first use of a table file.
#pragma once

#include <cstdint>

#include "tablebase/tbMoves.h"

namespace tarvonel
{

/// What `probeRoot` returns in place of a move.
inline constexpr tbMove tbCheckmateCode = 0xFFFE;
inline constexpr tbMove tbStalemateCode = 0xFFFF;

/// -2 loss, -1 loss saved by the fifty-move rule, 0 draw, 1 win spoilt by it, 2 win: for the side to
/// move, the count of plies at 0.
int probeWdl(const tbPosition &position, int &success);

/// Plies to the next capture or pawn move, or to mate, of best play: above 0 for wins, below for
/// losses, beyond 100 when the fifty-move rule interferes; 0 for a draw. May be one ply too small.
int probeDtz(const tbPosition &position, int &success);

/// The move to play: the one that keeps the value and zeroes soonest when winning, latest when losing;
/// in a draw one of the drawing moves, always the same in the same position. 0 if a table is missing
/// (`success` is 0 then), or a code for positions without a legal move. `dtz` becomes the position's.
tbMove probeRoot(const tbPosition &position, int &success, int &dtz);

} // namespace tarvonel
