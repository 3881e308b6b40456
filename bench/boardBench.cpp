// Perft, and making and unmaking single moves.
#include <benchmark/benchmark.h>

#include "benchBoard.h"
#include "board/makeMove.h"
#include "movegen/legality.h"

namespace tarvonel
{

namespace
{

void perftOfPosition(benchmark::State &state)
{
    benchBoard board(benchPositions[state.range(0)]);
    const int depth = static_cast<int>(state.range(1));
    std::uint64_t leaves = 0;
    for ([[maybe_unused]] auto round : state)
        leaves += perft(0, depth, *board);
    state.counters["leaves"] = benchmark::Counter(static_cast<double>(leaves), benchmark::Counter::kIsRate);
}
BENCHMARK(perftOfPosition)
    ->ArgNames({"position", "depth"})
    ->Args({0, 4})
    ->Args({5, 3})
    ->Args({13, 4})
    ->Args({21, 3})
    ->Unit(benchmark::kMillisecond);

/// Every legal move of every position of the list, made and taken back.
void makeAndUnmake(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    std::int64_t made = 0;
    for ([[maybe_unused]] auto round : state)
        made += forEachMove(boards,
                            [](pos &position, moveCode move)
                            {
                                makeMove(position, 0, move);
                                benchmark::ClobberMemory();
                                unmakeMove(position, 0, move);
                            });
    state.SetItemsProcessed(made);
}
BENCHMARK(makeAndUnmake);

} // namespace

} // namespace tarvonel
