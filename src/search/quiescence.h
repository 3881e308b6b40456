// The quiescence search: resolves captures at the leaves of the alpha-beta search.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Fail-soft score of the position at `ply` for the side to move, captures played out. `qDepth` is
/// 0 at the leaf and falls by one with each ply; the deeper, the narrower the search. Reads the
/// transposition table, never writes it; looks neither at the clock nor at `stopSearch`.
int quiescence(int ply, int qDepth, int alpha, int beta, pos &position);

} // namespace tarvonel
