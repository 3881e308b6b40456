// Material, piece-square and phase values, which `pos` keeps as running sums.
#pragma once

#include "board/combEval.h"
#include "board/piece.h"

namespace tarvonel
{

/// By piece type. The king's value never enters a material sum.
inline constexpr combEval pieceValue[pieceTypeCount] = {X(82, 94),   X(353, 365),   X(383, 387),
                                                        X(487, 644), X(1158, 1207), X(12000, 12000)};
inline constexpr int phaseValue[pieceTypeCount] = {0, 1, 1, 2, 4, 0};
inline constexpr int fullPhase = 24; ///< phase with all men on the board

/// By piece type and square in black's view (read with `tableSquare`): row 0 is the owner's far rank.
extern const combEval pieceSquareScore[pieceTypeCount][squareCount];

} // namespace tarvonel
