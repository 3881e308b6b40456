// Perft: counts the leaves of the tree of legal moves, the check of board and move generation.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

/// Number of move sequences of `depth` plies from the position at `ply`; depth from 1 up to
/// `maxPly` - ply. Lists go from `listStart` of the ply on, and the position is left as it was.
/// A path whose lists fill the move stack is cut short there: it takes dozens of plies, so that no
/// count that ends in a lifetime is touched.
std::uint64_t perft(int ply, int depth, pos &position);

} // namespace tarvonel
