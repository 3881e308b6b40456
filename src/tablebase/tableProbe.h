// The stored value of a position, as the table files have it.
//
// A stored value takes no account of en passant, and may lie below the truth where a capture exists:
// see probe.h for true values. Threads: any number at once. Allocates nothing but on the first use of
// a file.
#pragma once

#include "tablebase/tableFile.h"

namespace tarvonel
{

/// `kind` wdlKind: the stored value -2 (loss), -1 (loss that the fifty-move rule saves), 0, 1 (win
/// that it spoils), 2 (win) of the side to move. `kind` dtzKind: the stored distance to a zeroing
/// move in plies, not negative; `wdl` is then the position's value. `success` becomes 0 when no table
/// could be used and -1 when the DTZ file holds only the other side to move; otherwise it stays.
int probeTable(const tbPosition &position, int wdl, int &success, tableKind kind);

} // namespace tarvonel
