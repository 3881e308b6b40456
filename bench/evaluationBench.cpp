// The hand-set evaluation.
#include <benchmark/benchmark.h>

#include "benchBoard.h"

namespace tarvonel
{

namespace
{

/// With the pawns found in the pawn table as they mostly are.
void handSetEvaluation(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    for ([[maybe_unused]] auto round : state)
        for (benchBoard &board : boards)
            benchmark::DoNotOptimize(handSetScore(*board));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(boards.size()));
}
BENCHMARK(handSetEvaluation);

/// The same with no entry in the pawn table.
void handSetEvaluationOfNewPawns(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    for ([[maybe_unused]] auto round : state)
        for (benchBoard &board : boards)
        {
            board.record->tables.pawnTable[board->pawnKey % pawnTableSize] = {};
            benchmark::DoNotOptimize(handSetScore(*board));
        }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(boards.size()));
}
BENCHMARK(handSetEvaluationOfNewPawns);

} // namespace

} // namespace tarvonel
