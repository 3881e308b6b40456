// The network's first layer: for each colour's view of the board the bias plus one row of weights
// for every man, kept per ply and carried from ply to ply by what the moves changed.
//
// A view's features are (own king square, man, square), the board turned over for black, so that a
// king's move changes every row of its own colour's view and one row of the other's.
//
// Sums wrap at 16 bits, and so do not depend on the order in which rows came and went: whichever
// way a block is computed, it holds the same values.
#pragma once

#include <cstdint>

#include "board/pos.h"
#include "eval/networkFile.h"

namespace tarvonel
{

/// A sum of earlier use and the men it stands for, from which another position with the same king
/// square is soon reached. Also known as a refresh table.
struct accumulatorCacheEntry
{
    alignas(64) std::int16_t accumulator[accumulatorLanes];
    bitboard pieces[pieceCodeCount]; ///< by piece code
    std::uint32_t generation;        ///< of the weights; an entry of other weights counts as empty
};

/// Entries of `pos::accumulatorCache`, by colour x 64 + square of that colour's king. A new table
/// is filled with zeros; it never needs to be emptied.
inline constexpr int accumulatorCacheSize = colourCount * squareCount;

/// The row of the weights for a man, as `view` sees it with its own king on `king`.
constexpr int featureIndex(colour view, int king, int piece, int square)
{
    const int pieceIndex = ((piece - firstPieceCode) & ~1) | static_cast<int>(colourOf(piece) != view);
    return (relativeSquare(view, king) * pieceKinds + pieceIndex) * squareCount + relativeSquare(view, square);
}

/// Brings the block of `ply`, at which the position stands, up to date and marks it as computed.
void updateAccumulators(pos &position, int ply);

} // namespace tarvonel
