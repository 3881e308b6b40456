// Nodes and speed of the search over a fixed list of positions.
#pragma once

#include <cstdint>

namespace tarvonel
{

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

/// Searches each position of the list to `depth` with cleared tables and the current network, threads
/// and table size. With one thread the node count depends only on network, depth and table size.
/// Overwrites `mainPos`, the limits and `chess960`; the reporter receives the results. No search may
/// run.
benchEffort searchBenchPositions(int depth);

/// `bench`: the same with its own threads and table, then prints "NODES nodes NPS nps". Restores
/// options, `mainPos` and limits; the table is empty afterwards. No search may run.
void bench(const benchSettings &settings);

} // namespace tarvonel
