// Timings of the network: sums from nothing, through the table of earlier sums, by one move; the
// pass behind them at several shares of inputs that are not zero; the whole score after a move.
#include <algorithm>

#include <benchmark/benchmark.h>

#include "benchBoard.h"
#include "board/makeMove.h"
#include "board/pieceValues.h"
#include "eval/network.h"
#include "support/syntheticNetwork.h"

namespace tarvonel
{

namespace
{

constexpr benchPosition middleGame = {"r2q1rk1/pp1nbppp/2p1pn2/3p1b2/2PP4/1PN1PN2/PB2BPPP/R2Q1RK1 w - - 0 1"};

void sumFromNothing(benchmark::State &state)
{
    benchBoard board(middleGame);
    board->accumulatorCache = nullptr;
    for ([[maybe_unused]] auto round : state)
    {
        board->accumulatorBlocks[0].computed = false;
        updateAccumulators(*board, 0);
    }
}
BENCHMARK(sumFromNothing);

/// The kings step to and fro and meet their earlier sums again.
void sumThroughTable(benchmark::State &state)
{
    benchBoard board(middleGame);
    const moveCode step = encodeMove(g1, h1);
    updateAccumulators(*board, 0);
    for ([[maybe_unused]] auto round : state)
    {
        makeMove(*board, 0, step);
        updateAccumulators(*board, 1);
        unmakeMove(*board, 0, step);
    }
}
BENCHMARK(sumThroughTable);

/// Every legal move of every position of the list, made, summed, maybe scored, and taken back.
template <bool Scores> void everyMove(benchmark::State &state)
{
    std::vector<benchBoard> boards = allBenchBoards();
    for (benchBoard &board : boards)
        updateAccumulators(*board, 0);
    std::int64_t made = 0;
    for ([[maybe_unused]] auto round : state)
        made += forEachMove(boards,
                            [](pos &position, moveCode move)
                            {
                                makeMove(position, 0, move);
                                if constexpr (Scores)
                                    benchmark::DoNotOptimize(networkScore(position, 1, fullPhase));
                                else
                                    updateAccumulators(position, 1);
                                unmakeMove(position, 0, move);
                            });
    state.SetItemsProcessed(made);
}
void moveAndSum(benchmark::State &state) { everyMove<false>(state); }
void moveAndScore(benchmark::State &state) { everyMove<true>(state); }
BENCHMARK(moveAndSum);
BENCHMARK(moveAndScore);

/// The pass alone, its sums computed; the argument is the bias of the first layer.
void passAlone(benchmark::State &state)
{
    useSyntheticNetwork({1, static_cast<int>(state.range(0))});
    benchBoard board(middleGame);
    updateAccumulators(*board, 0);
    for ([[maybe_unused]] auto round : state)
        benchmark::DoNotOptimize(networkOutput(*board, 0));
    std::int64_t alive = 0;
    for (const auto &view : board->accumulatorBlocks[0].accumulator)
        alive += std::ranges::count_if(view, [](std::int16_t lane) { return lane > 0; });
    state.counters["inputsAlive"] = static_cast<double>(alive) / networkInputs;
    useSyntheticNetwork();
}
BENCHMARK(passAlone)->Arg(100)->Arg(60)->Arg(0)->Arg(-20)->Arg(-50)->Arg(-200);

} // namespace

} // namespace tarvonel
