// Perft, and making and unmaking single moves.
#include <benchmark/benchmark.h>

#include "benchBoard.h"
#include "board/makeMove.h"
#include "movegen/perft.h"

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
    std::vector<std::vector<moveCode>> moves;
    for (benchBoard &board : boards)
        moves.push_back(board.legalMoves());

    std::int64_t made = 0;
    for ([[maybe_unused]] auto round : state)
        for (std::size_t index = 0; index < boards.size(); ++index)
        {
            engineOptions.chess960 = benchPositions[index].chess960;
            for (const moveCode move : moves[index])
            {
                makeMove(*boards[index], 0, move);
                benchmark::ClobberMemory();
                unmakeMove(*boards[index], 0, move);
            }
            made += static_cast<std::int64_t>(moves[index].size());
        }
    state.SetItemsProcessed(made);
}
BENCHMARK(makeAndUnmake);

} // namespace

} // namespace tarvonel
