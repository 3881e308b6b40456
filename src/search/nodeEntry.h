// What the alpha-beta and the quiescence search ask alike before they look at a node's moves.
#pragma once

#include <optional>

#include "eval/evaluate.h"
#include "search/drawTests.h"
#include "search/score.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

/// Prefetches what a node reads first: its TT cluster and its slot of the evaluation cache.
inline void prefetchNode(const pos &position)
{
    ttPrefetch(position.key);
    prefetch(&position.evalCache[position.key & (evalCacheSize - 1)]);
}

/// Whether the ply is the last one that can be stood at: no depth or no room for moves is left.
inline bool isStackEnd(int ply, const pos &position)
{
    return ply >= maxPly || position.info[ply].listStart - position.info[0].listStart > moveStackSize - moveListReserve;
}

/// The score of a node that needs no search: a draw, a mate that comes too late for the window, the
/// end of the stack. Otherwise narrows the window to the mates that are still possible. `nodes` is
/// the count of nodes of the caller's kind, this one included.
inline std::optional<int> decideAtEntry(int ply, std::uint64_t nodes, int &alpha, int &beta, pos &position)
{
    if (isRepetition(ply, position))
        return repetitionScore(nodes);
    if (isMaterialDraw(position))
        return scoreDraw;
    clampMateDistance(ply, alpha, beta);
    if (alpha >= beta)
        return alpha;
    if (isStackEnd(ply, position))
        return evaluate(ply, position);
    return std::nullopt;
}

/// Whether a hit decides a node in this window. `value` is relative to the node.
inline bool doesTableCut(ttEntry entry, int value, int alpha, int beta)
{
    return entry.bound() == boundExact || (entry.bound() == boundLower && value >= beta) ||
           (entry.bound() == boundUpper && value <= alpha);
}

/// The better estimate of evaluation and table.
inline int refineEvaluation(int evaluation, ttEntry entry, int tableValue)
{
    const bool isTableBetter = entry.bound() == boundExact ||
                               (entry.bound() == boundLower && evaluation < tableValue) ||
                               (entry.bound() == boundUpper && evaluation > tableValue);
    return isTableBetter ? tableValue : evaluation;
}

} // namespace tarvonel
