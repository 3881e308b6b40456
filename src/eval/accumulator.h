// The network's first layer: for each side's view, the bias plus one row of weights per piece. The sums
// are kept per ply and updated incrementally by the piece changes of the moves.
//
// A feature of a view is (own king square, piece, square), mirrored for black. A king move therefore
// changes every row of its own view and one row of the other.
//
// Sums wrap at 16 bits, so the order of additions does not matter: every way of computing a block gives
// the same values.
#pragma once

#include <cstdint>

#include "board/pos.h"
#include "eval/networkFile.h"

namespace tarvonel
{

/// Entry of the king-square accumulator cache ("Finny table"): the last sum computed for one view and
/// king square, and its pieces. A refresh starts from it and applies the differences only.
struct accumulatorCacheEntry
{
    alignas(64) std::int16_t accumulator[accumulatorLanes];
    bitboard pieces[pieceCodeCount]; ///< by piece code
    std::uint32_t generation;        ///< of the weights; an entry of other weights counts as empty
};

/// Entries of `pos::accumulatorCache`, indexed by colour x 64 + that colour's king square. A new cache
/// is all zeros; it never needs clearing.
inline constexpr int accumulatorCacheSize = colourCount * squareCount;

/// The weight row of a piece for `view`, whose king is on `king`.
constexpr int featureIndex(colour view, int king, int piece, int square)
{
    const int pieceIndex = ((piece - firstPieceCode) & ~1) | static_cast<int>(colourOf(piece) != view);
    return (relativeSquare(view, king) * pieceKinds + pieceIndex) * squareCount + relativeSquare(view, square);
}

/// Computes the block of `ply`, the current ply, unless it is computed already.
void updateAccumulators(pos &position, int ply);

} // namespace tarvonel
