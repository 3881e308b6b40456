// Static exchange evaluation (SEE): the material result of the captures on one square.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Whether the exchange on the move's to-square gains at least `threshold` for the mover, each side
/// capturing with its least valuable attacker. For a move not yet made.
bool seeAtLeast(moveCode move, std::int16_t threshold, const pos &position);

/// Whether the move just made, which captured `captured` (0 for nothing), does not lose the exchange. Not
/// for moves that SEE does not handle (`isIgnoredBySee`).
bool seeNotNegativeAfter(moveCode move, int captured, const pos &position);

/// En passant and castling are not handled by SEE: they count as 0.
constexpr bool isIgnoredBySee(moveCode move) { return isEnPassant(move) || isCastling(move); }

} // namespace tarvonel
