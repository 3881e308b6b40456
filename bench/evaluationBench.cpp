// The two evaluators.
#include <benchmark/benchmark.h>

#include "benchBoard.h"
#include "board/makeMove.h"
#include "eval/network.h"

namespace tarvonel
{

namespace
{

/// Hand-set evaluation, with the pawns found in the pawn table as they mostly are.
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
            board.pawnTable[(*board).pawnKey % pawnTableSize] = {};
            benchmark::DoNotOptimize(handSetScore(*board));
        }
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(boards.size()));
}
BENCHMARK(handSetEvaluationOfNewPawns);

/// Network evaluation one move away from a position whose sums are known, as in the search. The
/// move itself is in the time.
void networkAfterMove(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    std::vector<std::vector<moveCode>> moves;
    for (benchBoard &board : boards)
    {
        networkOutput(*board, 0);
        moves.push_back(board.legalMoves());
    }
    std::int64_t evaluated = 0;
    for ([[maybe_unused]] auto round : state)
        for (std::size_t index = 0; index < boards.size(); ++index)
        {
            engineOptions.chess960 = benchPositions[index].chess960;
            for (const moveCode move : moves[index])
            {
                makeMove(*boards[index], 0, move);
                benchmark::DoNotOptimize(networkOutput(*boards[index], 1));
                unmakeMove(*boards[index], 0, move);
            }
            evaluated += static_cast<std::int64_t>(moves[index].size());
        }
    state.SetItemsProcessed(evaluated);
}
BENCHMARK(networkAfterMove);

/// The forward pass alone: the sums of the position stand.
void networkForwardPass(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    for ([[maybe_unused]] auto round : state)
        for (benchBoard &board : boards)
            benchmark::DoNotOptimize(networkOutput(*board, 0));
    state.SetItemsProcessed(state.iterations() * static_cast<std::int64_t>(boards.size()));
}
BENCHMARK(networkForwardPass);

} // namespace

} // namespace tarvonel
