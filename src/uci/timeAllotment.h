// How long a move may take.
#pragma once

namespace tarvonel
{

/// Works out `optimalTime`, `maximumTime` and `timeScale` of `searchLimits` from the clocks there,
/// the options and the side to move in `mainPos`; at the first move of a game `incrementFactor`
/// too. Figures that would leave 32 bits stop at their bounds.
void allotTime();

} // namespace tarvonel
