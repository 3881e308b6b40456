// The network's pass from the first layer's sums to a score.
//
//   2 x 256 sums -> clamp to 0..127, side to move first -> 512 to 32 -> 32 to 32 -> 1
//
// Both hidden layers shift their sums right by 6 and clamp them to 0..127. All is integer
// arithmetic that wraps at 32 bits, so every build gives the same score.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

/// The score is the raw output x factor / divisor: the more men are on the board, the more a given
/// output weighs. `phase` is the game phase from 0 to 24.
constexpr int outputFactor(int pawns, int phase)
{
    constexpr int pawnWeight = 16, pawnOffset = 55, phaseWeight = 11;
    return (pawns + pawnOffset) * pawnWeight + phase * phaseWeight;
}
inline constexpr int scoreDivisor = 24576;

/// The raw output for the position as it stands at `ply`, from the side to move's view.
std::int32_t networkOutput(pos &position, int ply);

/// The score for the side to move. `clampedPhase` is the game phase from 0 to 24.
int networkScore(pos &position, int ply, int clampedPhase);

} // namespace tarvonel
