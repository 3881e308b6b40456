// Speed and course of the search over a fixed list of positions, in one line.
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

/// Searches each position of the list to `depth` as if there had been none before it, with the
/// network, the threads and the table in place. With one thread the nodes depend on network, depth
/// and size of the table alone. Overwrites `mainPos`, the limits and the rules in force; what the
/// searches find goes to the reporter. No search may run.
benchEffort searchBenchPositions(int depth);

/// `bench`: the same with threads and table of its own, then "NODES nodes NPS nps". Options,
/// `mainPos` and limits are afterwards what they were; the table is empty. No search may run.
void bench(const benchSettings &settings);

} // namespace tarvonel
