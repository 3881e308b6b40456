// The evaluation network: incrementally updated accumulators, and the forward pass to a score.
//
//   2 x 256 sums -> clamp to 0..127, side to move first -> 512 to 32 -> 32 to 32 -> 1
//
// The first layer is computed from each side's view: the bias plus one row of weights per piece. A
// feature is (own king square, piece, square), mirrored for black, so a king move changes every row of
// its own view and one row of the other. The sums of each ply are updated by the piece changes of the
// moves since an earlier ply.
//
// Both hidden layers shift their sums right by 6 and clamp them to 0..127. All arithmetic is integer;
// accumulators wrap at 16 bits, other sums at 32, so every build and every order of additions gives the
// same score.
#pragma once

#include <cstdint>

#include "board/pos.h"
#include "eval/networkFile.h"

namespace tarvonel
{

/// Entry of the king-square accumulator cache ("Finny table"): the last sums computed for a view and king
/// square, and their pieces. A refresh starts from them and applies the differences.
struct accumulatorCacheEntry
{
    alignas(64) std::int16_t accumulator[accumulatorLanes];
    bitboard pieces[pieceCodeCount]; ///< by piece code
    std::uint32_t generation;        ///< of the weights; an entry for other weights counts as empty
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

/// Computes the accumulators of `ply`, the current ply, unless they are up to date.
void updateAccumulators(pos &position, int ply);

/// score = raw output x factor / divisor. The factor grows with the material; `phase` is the game phase,
/// 0 to 24.
constexpr int outputFactor(int pawns, int phase)
{
    constexpr int pawnWeight = 16, pawnOffset = 55, phaseWeight = 11;
    return (pawns + pawnOffset) * pawnWeight + phase * phaseWeight;
}
inline constexpr int scoreDivisor = 24576;

/// The raw output for the side to move; `ply` is the current ply.
std::int32_t networkOutput(pos &position, int ply);

/// The score for the side to move in centipawns. `clampedPhase` is the game phase, 0 to 24.
int networkScore(pos &position, int ply, int clampedPhase);

} // namespace tarvonel
