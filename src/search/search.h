// The two recursive searches.
//
// Both return a fail-soft score of the position at `ply` from the side to move's view.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Principal variation search, `depth` >= 1 plies deep, in the window (alpha, beta). Ply 0 is the
/// root, whose best move and depth go to the root fields of `position`. After `stopSearch` it returns
/// 0 at once, and the value must not be used.
int alphaBeta(int ply, int depth, int alpha, int beta, pos &position);

/// Quiescence search: resolves captures at the leaves. `qDepth` is 0 at the leaf and decreases by one
/// per ply; fewer moves are tried at lower values. Reads the transposition table but never writes it,
/// and checks neither the clock nor `stopSearch`.
int quiescence(int ply, int qDepth, int alpha, int beta, pos &position);

} // namespace tarvonel
