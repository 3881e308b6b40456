// Checks of debug builds: everything that is kept incrementally, computed anew.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Whether board and bitboards agree and keys, sums and phase at `ply` equal their full
/// computations. For assertions.
bool isConsistent(const pos &position, int ply);

/// The same for board and bitboards alone.
bool isBoardConsistent(const pos &position);

} // namespace tarvonel
