// Static exchange evaluation: does a capture pay?
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Whether the exchange on the move's to square, cheapest attacker first, leaves the mover at
/// least at `threshold`. For a move not yet made; does not touch the position.
bool seeAtLeast(moveCode move, int threshold, const pos &position);

/// The same with threshold 0 for a move that has just been made, capturing `captured`.
bool seeHoldsAfter(moveCode move, int captured, const pos &position);

} // namespace tarvonel
