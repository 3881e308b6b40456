// Positions of random games in the form that the tuner reads: enough to see it work.
#pragma once

#include <cstdint>
#include <ostream>

namespace tarvonel
{

/// Writes `count` lines, each a FEN, the word c9 and the game's result. Only quiet moments: the side
/// to move is not in check. The same seed gives the same lines.
void writeTuningLines(std::ostream &out, std::int64_t count, std::uint64_t seed);

} // namespace tarvonel
