// The static evaluation of a position.
//
// Two evaluators, never blended: the network scores positions in which material and placement are
// roughly balanced, the hand-set evaluation those with a large imbalance. The choice depends on the
// position alone, so a position gets the same kind of score wherever it occurs.
//
// Threads: each worker attaches its own `evaluationTables` to its `pos`.
#pragma once

#include <algorithm>
#include <cstdint>

#include "board/pos.h"
#include "eval/accumulator.h"
#include "eval/handSetEvaluation.h"

namespace tarvonel
{

/// A slot of the evaluation cache, indexed by the low bits of the key.
struct evalCacheEntry
{
    std::uint64_t key;
    std::int16_t score; ///< white's view
};

/// Slots of an evaluation cache, a power of two. A cache starts zeroed and stays valid until the
/// network or the terms change.
inline constexpr int evalCacheSize = 16384;

inline constexpr int defaultNetworkLimit = 400;

/// Positions with an end-game balance of at least this for either side get the hand-set evaluation.
/// The engine never changes it. A training program without a network sets 0, before it starts threads.
inline int networkLimit = defaultNetworkLimit;

/// Material and piece-square scores, white's minus black's.
inline combEval balance(const pos &position)
{
    return position.material[white] - position.material[black] + position.squareScore[white] -
           position.squareScore[black];
}

/// The score for the side to move in centipawns, within 16 bits; `ply` is the current ply. Works in
/// check as well. Writes the evaluation cache, the pawn table and the accumulators of the ply.
int evaluate(int ply, pos &position);

/// `evaluate` with `tunableTerms`. Its cached scores outlive a change of a term: clear the tables then.
int evaluateTunable(int ply, pos &position);

/// The hand-set evaluation from white's view. Writes the pawn table only.
int handSetScore(const pos &position);

/// The caches of one evaluating thread. Large: keep it on the heap or in a thread's own block.
struct evaluationTables
{
    /// Makes evaluations of the position use these tables, which must outlive them.
    void attachTo(pos &position)
    {
        position.pawnTable = pawnTable;
        position.evalCache = evalCache;
        position.accumulatorCache = accumulatorCache;
    }

    /// Forgets all scores, for when terms or network change. The accumulator cache detects another
    /// network by itself.
    void clear()
    {
        std::ranges::fill(pawnTable, pawnEntry{});
        std::ranges::fill(evalCache, evalCacheEntry{});
    }

    pawnEntry pawnTable[pawnTableSize]{};
    evalCacheEntry evalCache[evalCacheSize]{};
    accumulatorCacheEntry accumulatorCache[accumulatorCacheSize]{};
};

} // namespace tarvonel
