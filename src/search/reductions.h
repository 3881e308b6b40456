// The depth at which a move is searched: extensions and late move reductions.
#pragma once

#include "board/pos.h"
#include "search/history.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

/// What is known about a node before its first move.
struct nodeContext
{
    int depth; ///< after the internal iterative reduction
    ttEntry entry;
    int ttValue;
    bool improving; ///< the static evaluation is not below that of two plies ago
    continuationRows rows;
};

/// Counters of the move loop.
struct moveCounts
{
    int searched = 0;       ///< moves not pruned
    int late = 0;           ///< the same without bad captures: the move number
    int quiets = 0;         ///< quiet moves searched
    int extendedQuiets = 0; ///< quiet moves extended
};

/// Whether a move that has been made is extended by one ply: a check with nonnegative SEE, or a quiet
/// move with an excellent history.
bool isExtended(int ply, const pos &position, const nodeContext &context, const moveCounts &counts, moveCode move,
                bool isCheck);

/// Plies by which a move that has been made, and is not the first, is reduced; -1 extends it.
int reductionOf(int ply, const pos &position, const nodeContext &context, const moveCounts &counts, moveCode move,
                bool isPv);

} // namespace tarvonel
