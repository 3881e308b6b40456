// Score pairs, and the material, piece-square and phase values that `pos` keeps as running sums.
//
// A `combEval` packs a middle-game and an end-game score into 32 bits: X(mg, eg) = eg x 65536 + mg.
// Sums, differences and small multiples act on both halves at once and wrap. The middle game is the
// low 16 bits read as signed; reading the end game adds 32768 first, to undo the borrow of a negative
// middle game.
#pragma once

#include <cstdint>

#include "board/piece.h"

namespace tarvonel
{

using combEval = std::int32_t;

// NOLINTNEXTLINE(readability-identifier-naming): keeps the evaluation tables readable
constexpr combEval X(int mg, int eg) { return static_cast<combEval>(static_cast<std::uint32_t>(eg) << 16) + mg; }

constexpr int mgOf(combEval value) { return static_cast<std::int16_t>(static_cast<std::uint32_t>(value) & 0xFFFF); }
constexpr int egOf(combEval value)
{
    return static_cast<std::int16_t>((static_cast<std::uint32_t>(value) + 0x8000U) >> 16);
}

/// By piece type. Material sums leave out the king.
inline constexpr combEval pieceValue[pieceTypeCount] = {X(82, 94),   X(353, 365),   X(383, 387),
                                                        X(487, 644), X(1158, 1207), X(12000, 12000)};
inline constexpr int phaseValue[pieceTypeCount] = {0, 1, 1, 2, 4, 0};
inline constexpr int fullPhase = 24; ///< phase of the start position

/// By piece type and square, a8 first; `tableSquare` gives the index.
extern const combEval pieceSquareScore[pieceTypeCount][squareCount];

} // namespace tarvonel
