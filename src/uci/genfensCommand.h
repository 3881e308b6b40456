// Random openings for games that other machines play.
#pragma once

#include <istream>

namespace tarvonel
{

/// `genfens N seed S book NONE|FILE`: N lines "info string genfens FEN". Each opening is some random
/// moves from the start position (with `UCI_Chess960`, one of the 960), or from a position of FILE,
/// and no further from balance than self-play's. They depend on the words and the network alone.
/// No search may run.
void genfensCommand(std::istream &words);

} // namespace tarvonel
