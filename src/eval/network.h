// The network's forward pass from the accumulators to a score.
//
//   2 x 256 sums -> clamp to 0..127, side to move first -> 512 to 32 -> 32 to 32 -> 1
//
// Both hidden layers shift their sums right by 6 and clamp them to 0..127. All arithmetic is integer
// and wraps at 32 bits, so every build gives the same score.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

/// score = raw output x factor / divisor: the output counts more the more material there is. `phase` is
/// the game phase, 0 to 24.
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
