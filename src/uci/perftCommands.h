// Checks of the move generator as console commands: `perft` on the current position, and two
// regression runs over a file of positions with known counts.
//
// `rtest` reads lines of "FEN;depth;count", up to a line that is "extended" or "full".
// `rtestQTV` reads lines of "FEN;D1 count;D2 count; ... ;D6 count".
// Empty lines are skipped. A line that cannot be read is printed and fails the run there.
#pragma once

#include <string>

namespace tarvonel
{

inline constexpr const char *regressionFilePath = "D:\\Chess\\Div\\perftFRC.txt";
inline constexpr int minPerftDepth = 1, maxPerftDepth = 127;

/// Counts the leaves of the move tree below `mainPos` and prints board, time and count.
void perftCommand(int depth);

/// Both return 1 if all counts were right, else 0. `rtest` resizes the transposition table, so no
/// search may run.
int rtest(const std::string &path = regressionFilePath);
int rtestQTV(const std::string &path = regressionFilePath);

} // namespace tarvonel
