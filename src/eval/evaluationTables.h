// What an evaluation remembers of earlier ones. Each thread that evaluates has such a record.
#pragma once

#include <algorithm>

#include "eval/accumulator.h"
#include "eval/evaluate.h"
#include "eval/pawnEvaluation.h"

namespace tarvonel
{

/// Large: lives on the heap or in a thread's own block.
struct evaluationTables
{
    /// Lets evaluations of the position work in these tables, for as long as they live.
    void attachTo(pos &position)
    {
        position.pawnTable = pawnTable;
        position.evalCache = evalCache;
        position.accumulatorCache = accumulatorCache;
    }

    /// Forgets all scores, which other terms or another network make untrue. The accumulator cache
    /// tells by itself which network its sums are of.
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
