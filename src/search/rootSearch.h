// Iterative deepening with aspiration windows at the root.
#pragma once

#include "search/worker.h"

namespace tarvonel
{

/// The search of one thread, from the position of the worker. False if the root was resolved without a
/// search, by mate or the tablebases; only the boss looks for that.
bool searchRoot(worker &owner);

/// Collects the principal variation: plays the root's pvMove, follows exact TT entries to at most
/// `depth` plies in all, and writes the moves to the pvMove chain of `info` and their number to
/// `pvLast`. The root's own entry is not used, because an iteration that was stopped, or another
/// thread, may have found a better move than the one stored.
void walkPrincipalVariation(pos &position, int depth);

} // namespace tarvonel
