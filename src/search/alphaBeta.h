// The recursive principal-variation search.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Fail-soft score of the position at `ply` for the side to move, searched `depth` >= 1 plies deep
/// in the window (alpha, beta). Ply 0 is the root and reports to the root fields of `position`.
/// After `stopSearch` it returns 0 at once and the value means nothing.
int alphaBeta(int ply, int depth, int alpha, int beta, pos &position);

} // namespace tarvonel
