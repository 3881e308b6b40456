// The static evaluation of a position.
//
// The network scores positions with roughly balanced material and piece-square scores, the hand-set
// evaluation (HCE) those with a large imbalance. The choice depends only on the position. The HCE has a
// pawn part, cached in the pawn table, and a piece part.
//
// Threads: each worker attaches its own `evaluationTables` to its `pos`.
#pragma once

#include <algorithm>
#include <cstdint>

#include "board/pos.h"
#include "eval/evalTerms.h"
#include "eval/network.h"

namespace tarvonel
{

struct pawnEntry
{
    std::uint64_t pawnKey; ///< full key; its low bits are the index
    bitboard passed;       ///< passed pawns of both colours
    combEval score;        ///< white's terms minus black's
};

/// Entries of a pawn table, a power of two. A table starts zeroed and is valid until the terms change.
inline constexpr int pawnTableSize = 65536;

/// Pawn structure and pawn storms, which depend on pawns and kings only. Returns the entry of the pawn
/// table, computed on a miss and valid until the next call. For `shippedTerms` and `tunableTerms`.
template <const evalTerms &Terms> const pawnEntry &evaluatePawns(const pos &position);

/// All other terms of pieces and kings, white's minus black's. `pawns` is the position's pawn entry.
/// Slightly asymmetric: white's king danger is computed before black's pawn mobility.
template <const evalTerms &Terms> combEval evaluatePieces(const pos &position, const pawnEntry &pawns);

/// A slot of the evaluation cache, indexed by the low bits of the key.
struct evalCacheEntry
{
    std::uint64_t key;
    std::int16_t score; ///< white's view
};

/// Slots of an evaluation cache, a power of two. A cache starts zeroed and is valid until network or
/// terms change.
inline constexpr int evalCacheSize = 16384;

inline constexpr int defaultNetworkLimit = 400;

/// Positions whose end-game balance is at least this for either side get the hand-set evaluation. The
/// engine never changes it; a training program without a network sets it to 0 before starting threads.
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

/// `evaluate` with `tunableTerms`. Clear the tables after changing a term.
int evaluateTunable(int ply, pos &position);

/// The hand-set evaluation from white's view. Writes the pawn table only.
int handSetScore(const pos &position);

/// The caches of a thread. Too large for its stack.
struct evaluationTables
{
    /// Attaches the tables to the position; they must outlive its use.
    void attachTo(pos &position)
    {
        position.pawnTable = pawnTable;
        position.evalCache = evalCache;
        position.accumulatorCache = accumulatorCache;
    }

    /// Clears all scores after a change of terms or network. The accumulator cache detects a new network
    /// by itself.
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
