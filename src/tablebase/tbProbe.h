// Probing the Syzygy tablebases.
//
// Stored values ignore en passant and may be too low if there is a capture; distances may be stored for
// only one side to move. `probeWdl`, `probeDtz` and `probeRoot` correct this by searching captures and,
// if necessary, one move ahead. Positions with castling rights must not be probed.
//
// `success`: 0 if the probe failed because a file is missing or unusable, 1 for a value from a file, 2
// for one from a winning capture or pawn move, -1 if a DTZ file has only the other side to move.
//
// Threads: any number at once. Memory is allocated only on the first use of a file.
#pragma once

#include "tablebase/tbFile.h"
#include "tablebase/tbPosition.h"

namespace tarvonel
{

/// Returned by `probeRoot` in place of a move.
inline constexpr tbMove tbCheckmateCode = 0xFFFE;
inline constexpr tbMove tbStalemateCode = 0xFFFF;

/// The stored value for the side to move. `wdlKind`: -2 loss, -1 loss but drawn by the fifty-move rule, 0
/// draw, 1 win but drawn by the fifty-move rule, 2 win. `dtzKind`: the distance in plies, not negative;
/// `wdl` is then the true WDL value. Sets `success` on failure only.
int probeTable(const tbPosition &position, int wdl, int &success, tbKind kind);

/// The true WDL value, -2 to 2, with the fifty-move count taken as 0.
int probeWdl(const tbPosition &position, int &success);

/// Plies to the next capture, pawn move or mate with best play: positive for wins, negative for losses, 0
/// for draws; beyond 100 if the fifty-move rule draws. May be one ply too small.
int probeDtz(const tbPosition &position, int &success);

/// A move that keeps the result: when winning the one that zeroes soonest, when losing the one that zeroes
/// latest, otherwise a drawing move, always the same in the same position. 0 with `success` 0 if a file
/// is missing; a code as above if there is no legal move. Sets `dtz` to the distance of the position.
tbMove probeRoot(const tbPosition &position, int &success, int &dtz);

} // namespace tarvonel
