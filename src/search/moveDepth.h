// How deep a move of the alpha-beta search is searched: extensions and late move reductions.
#pragma once

#include "board/pos.h"
#include "search/history.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

/// What a node knows before its first move.
struct nodeFacts
{
    int depth; ///< after the internal reduction
    ttEntry entry;
    int tableValue;
    bool improving; ///< better than two plies ago
    continuationRows rows;
};

/// Counts of the move loop.
struct loopCounts
{
    int searched = 0;       ///< moves that got past all pruning
    int late = 0;           ///< the same without bad captures: the move number
    int quiets = 0;         ///< moves searched that captured nothing
    int extendedQuiets = 0; ///< of these, the ones that kept their full depth
};

/// Whether a move that has been made keeps its full depth: a check that does not lose the exchange,
/// or a quiet move with an excellent history.
bool isExtended(int ply, const pos &position, const nodeFacts &facts, const loopCounts &counts, moveCode move,
                bool isCheck);

/// Plies by which a move that has been made, and is not the node's first, is searched less deep at
/// first; -1 searches it deeper.
int reductionOf(int ply, const pos &position, const nodeFacts &facts, const loopCounts &counts, moveCode move,
                bool isPv);

} // namespace tarvonel
