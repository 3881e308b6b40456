// Console commands: `perft` and other diagnostics, and those that run searches of their own.
#pragma once

#include <cstdint>
#include <istream>
#include <string>

namespace tarvonel
{

inline constexpr int minPerftDepth = 1, maxPerftDepth = 127;

/// `perft`: counts the leaves of the move tree of `mainPos` and prints board, time and count.
void perftCommand(int depth);

inline constexpr const char *regressionFilePath = "D:\\Chess\\Div\\perftFRC.txt";

/// Check the move generator against a file of positions with known counts: `rtest` lines of
/// "FEN;depth;count", up to a line that is "extended" or "full"; `rtestQTV` lines of "FEN;D1 count;
/// ... ;D6 count". Skip empty lines. A line that cannot be read is printed and ends the run with a
/// failure. Return 1 if all counts are right, else 0. `rtest` resizes the transposition table, so no
/// search may run.
int rtest(const std::string &path = regressionFilePath);
int rtestQTV(const std::string &path = regressionFilePath);

/// `showboard`: the diagram of `mainPos`.
void showBoard();

/// `evil`: the static evaluation of `mainPos` for the side to move. Uses the boss's position, so it waits
/// for a running search or is refused.
void printEvaluation();

/// `hashstats`: the contents of the transposition table; approximate during a search.
void hashStatistics();

inline constexpr int minBenchDepth = 1, maxBenchDepth = 127;

struct benchSettings
{
    int depth = 12;
    int threads = 1;
    int hashMegabytes = 16;
};

struct benchEffort
{
    std::uint64_t nodes = 0;
    std::int64_t milliseconds = 0; ///< at least 1
};

/// Searches each of the `benchPositions` to `depth` with cleared tables and the current network, threads
/// and table size. With one thread the node count depends only on network, depth and table size.
/// Overwrites `mainPos`, the limits and `chess960`; reports to the reporter. No search may run.
benchEffort searchBenchPositions(int depth);

/// `bench`: the same with its own threads and table, then prints "NODES nodes NPS nps". Restores options,
/// `mainPos` and limits; the table is empty afterwards. No search may run.
void bench(const benchSettings &settings);

/// `genfens N seed S book NONE|FILE`, for distributed testing: prints N lines "info string genfens FEN".
/// Each opening is a few random moves from the start position (with `UCI_Chess960`, one of the 960) or
/// from a position of FILE, and as balanced as those of self-play. The output depends only on the
/// arguments and the network. No search may run.
void genfensCommand(std::istream &words);

} // namespace tarvonel
