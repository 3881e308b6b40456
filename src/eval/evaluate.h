// The static score of a position.
//
// Two evaluators, never blended: the network scores positions in which material and placement are
// roughly balanced, the hand-set evaluation those with a large imbalance. The choice depends on the
// position alone, so that a position gets the same kind of score wherever it is met.
//
// Threads: each worker has a cache and a pawn table of its own, to which its `pos` points.
#pragma once

#include <cstdint>

#include "board/combEval.h"
#include "board/pos.h"

namespace tarvonel
{

/// A slot of the evaluation cache, found by the low bits of the key.
struct evalCacheEntry
{
    std::uint64_t key;
    std::int16_t score; ///< from white's view
};

/// Slots of an evaluation cache, a power of two. A cache starts zeroed and stays true for as long as
/// network and terms do.
inline constexpr int evalCacheSize = 16384;

inline constexpr int defaultNetworkLimit = 400;

/// An end-game balance of this size, for either side, is the hand-set evaluation's. The engine never
/// changes it; a training program that has no network yet sets 0, before it starts any thread, and
/// so has every position scored by hand.
inline int networkLimit = defaultNetworkLimit;

/// Material and piece-square placement, white's minus black's.
inline combEval balance(const pos &position)
{
    return position.material[white] - position.material[black] + position.squareScore[white] -
           position.squareScore[black];
}

/// The score for the side to move, in centipawns and within 16 bits; `ply` is where the position
/// stands on the stack. Does not care whether the side to move is in check. Writes the evaluation
/// cache, the pawn table and the accumulators of the ply.
int evaluate(int ply, pos &position);

/// The same by the writable terms of eval/evalTerms.h. What it caches outlives a change of a term,
/// so the caller empties both tables after one.
int evaluateTunable(int ply, pos &position);

/// The hand-set evaluation of any position, from white's view. Writes the pawn table only.
int handSetScore(const pos &position);

} // namespace tarvonel
