// Time management: how long a move may take.
#pragma once

namespace tarvonel
{

/// Computes `optimalTime`, `maximumTime` and `timeScale` of `searchLimits` from its clocks, the options
/// and the side to move in `mainPos`; at the first move of a game `incrementFactor` too. Saturates at
/// the bounds of 32 bits.
void allotTime();

} // namespace tarvonel
