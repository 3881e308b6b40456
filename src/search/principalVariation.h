// The principal variation. Only its first move is kept by the search; those behind it are read out
// of the transposition table.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Plays the root's pvMove and follows the exact entries behind it, up to `depth` plies in all:
/// fills the pvMove chain of `info` from ply 1 on and sets `pvLast`. The root's own entry is not
/// asked: an iteration that was cut off, or another thread, may know a better move than is stored.
void walkPrincipalVariation(pos &position, int depth);

} // namespace tarvonel
