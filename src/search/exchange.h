// Static exchange evaluation: does a capture pay?
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Whether the exchange on the move's to square, cheapest attacker first, leaves the mover at
/// least at `threshold`. For a move not yet made; does not touch the position.
bool seeAtLeast(moveCode move, std::int16_t threshold, const pos &position);

/// The same with threshold 0 for a move that has just been made, capturing the man with code
/// `captured` (0 for none), and is none of the exempt.
bool seeHoldsAfter(moveCode move, int captured, const pos &position);

/// En passant and castling are not judged: they count as an exchange of nothing for nothing.
constexpr bool isExemptFromSee(moveCode move) { return isEnPassant(move) || isCastling(move); }

} // namespace tarvonel
