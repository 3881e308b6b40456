// Probing the Syzygy tablebases.
//
// The stored values ignore en passant, may be too low where a capture exists, and distances may be
// stored for one side to move only. `probeWdl`, `probeDtz` and `probeRoot` correct this by searching
// captures and, where necessary, one move ahead. Positions with castling rights must not be probed.
//
// `success` says how a value was found: 0 not at all (a file is missing or unusable, and the value is
// meaningless), 1 from a file, 2 from a winning capture or pawn move, -1 when a DTZ file holds the
// other side to move only.
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

/// The stored value for the side to move. `wdlKind`: -2 loss, -1 loss that the fifty-move rule saves,
/// 0 draw, 1 win that it spoils, 2 win. `dtzKind`: the distance in plies, not negative; `wdl` must
/// then be the true WDL value. Sets `success` to 0 or -1 as above, and otherwise leaves it alone.
int probeTable(const tbPosition &position, int wdl, int &success, tbKind kind);

/// The true WDL value, -2 to 2, with the fifty-move count taken as 0.
int probeWdl(const tbPosition &position, int &success);

/// Plies to the next capture, pawn move or mate with best play: positive for wins, negative for
/// losses, beyond 100 when the fifty-move rule interferes, 0 for draws. May be one ply too small.
int probeDtz(const tbPosition &position, int &success);

/// The move to play. It keeps the result, and zeroes as soon as possible when winning and as late as
/// possible when losing; of drawing moves it picks one, always the same in the same position. 0 with
/// `success` 0 if a file is missing; one of the codes above if there is no legal move. Sets `dtz` to
/// the distance of the position.
tbMove probeRoot(const tbPosition &position, int &success, int &dtz);

} // namespace tarvonel
