// Random openings for distributed testing.
#pragma once

#include <istream>

namespace tarvonel
{

/// `genfens N seed S book NONE|FILE`: prints N lines "info string genfens FEN". Each opening is a few
/// random moves from the start position (with `UCI_Chess960`, one of the 960) or from a position of
/// FILE, and as balanced as those of self-play. The output depends only on the arguments and the
/// network. No search may run.
void genfensCommand(std::istream &words);

} // namespace tarvonel
