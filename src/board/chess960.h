// The start positions of Chess960.
#pragma once

#include <string>

namespace tarvonel
{

inline constexpr int chess960Starts = 960;

/// Start position number 0 to 959 as FEN; 518 is the standard one.
std::string chess960Fen(int number);

} // namespace tarvonel
