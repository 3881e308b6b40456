// The searches: iterative deepening at the root, alpha-beta and quiescence. The two recursive ones return
// a fail-soft score of the position at `ply` from the side to move's view.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

class worker;

/// Iterative deepening with aspiration windows, by one thread, from the position of the worker. False if
/// the root was resolved without a search, by mate or the tablebases, which only the boss looks for.
bool searchRoot(worker &owner);

/// Collects the principal variation: plays the root's pvMove and follows exact TT entries to at most
/// `depth` plies in all. Writes the moves to the pvMove chain of `info` and the ply of the last one to
/// `pvLast`. Does not use the TT entry of the root, because a stopped iteration or another thread may
/// have found a better move than the one stored.
void walkPrincipalVariation(pos &position, int depth);

/// Principal variation search, `depth` >= 1 plies deep, in the window (alpha, beta). At ply 0 it writes
/// best move and depth to the root fields of `position`. Returns at once after `stopSearch`; the value
/// must not be used then.
int alphaBeta(int ply, int depth, int alpha, int beta, pos &position);

/// Quiescence search: resolves captures at the leaves. `qDepth` is 0 at the leaf and decreases by one
/// per ply; lower values try fewer moves. Reads the transposition table but never writes it; checks
/// neither the clock nor `stopSearch`.
int quiescence(int ply, int qDepth, int alpha, int beta, pos &position);

} // namespace tarvonel
