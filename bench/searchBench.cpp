// The exchange test and the transposition table.
#include <benchmark/benchmark.h>

#include "benchBoard.h"
#include "search/see.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

namespace
{

/// The exchange test on every legal move of every position of the list.
void exchangeTest(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    std::int64_t tested = 0;
    for ([[maybe_unused]] auto round : state)
        tested += forEachMove(boards, [](const pos &position, moveCode move)
                              { benchmark::DoNotOptimize(seeAtLeast(move, 0, position)); });
    state.SetItemsProcessed(tested);
}
BENCHMARK(exchangeTest);

/// Keys that follow each other like those of a search: anywhere in the table.
std::uint64_t nextKey(std::uint64_t key)
{
    key ^= key << 13;
    key ^= key >> 7;
    key ^= key << 17;
    return key;
}

/// Stores or probes all over a table of so many MiB.
template <bool Stores> void transpositionTable(benchmark::State &state)
{
    constexpr int depth = 5;
    ttResize(static_cast<int>(state.range(0)));
    std::uint64_t key = 0x9E3779B97F4A7C15;
    for ([[maybe_unused]] auto round : state)
    {
        key = nextKey(key);
        if constexpr (Stores)
            ttStore(key, noMove, 0, depth, boundLower, 0);
        else
            benchmark::DoNotOptimize(ttProbe(key));
    }
    state.SetItemsProcessed(state.iterations());
    ttRelease();
}
void tableStore(benchmark::State &state) { transpositionTable<true>(state); }
void tableProbe(benchmark::State &state) { transpositionTable<false>(state); }
BENCHMARK(tableStore)->ArgName("MiB")->Arg(1)->Arg(256);
BENCHMARK(tableProbe)->ArgName("MiB")->Arg(1)->Arg(256);

} // namespace

} // namespace tarvonel
