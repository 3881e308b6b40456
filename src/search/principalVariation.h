// The principal variation, read out of the transposition table: there is no array of it anywhere.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Follows the exact entries from the root for up to `depth` plies: fills the pvMove chain of
/// `info` and sets `pvLast`. Where the table has nothing, pvMove of the root stays and pvLast is 0.
void walkPrincipalVariation(pos &position, int depth);

} // namespace tarvonel
