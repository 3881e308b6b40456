// Timings of the network: sums from nothing, through the table of earlier sums, by one move; the
// pass behind them at several shares of inputs that are not zero; the whole evaluation of a move.
#include <algorithm>
#include <vector>

#include <benchmark/benchmark.h>

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "board/pieceValues.h"
#include "board/setup.h"
#include "eval/accumulator.h"
#include "eval/network.h"
#include "support/syntheticNetwork.h"

namespace
{

using namespace tarvonel;

const char *const middleGame = "r2q1rk1/pp1nbppp/2p1pn2/3p1b2/2PP4/1PN1PN2/PB2BPPP/R2Q1RK1 w - - 0 1";

/// Moves on that board, of either side: quiet ones and captures.
struct benchMove
{
    colour side;
    moveCode move;
};
const benchMove benchMoves[] = {{white, encodeMove(c4, d5)}, {white, encodeMove(f3, e5)}, {white, encodeMove(c3, b5)},
                                {white, encodeMove(a1, c1)}, {white, encodeMove(d1, c2)}, {black, encodeMove(d5, c4)},
                                {black, encodeMove(f6, e4)}, {black, encodeMove(f5, g4)}, {black, encodeMove(c6, c5)},
                                {black, encodeMove(d8, b6)}, {black, encodeMove(a8, c8)}, {white, encodeMove(h2, h3)}};

struct workspace
{
    std::vector<accumulatorCacheEntry> cache{accumulatorCacheSize};

    explicit workspace(int firstLayerBias = syntheticNetworkPlan().firstLayerBias)
    {
        initTables();
        useSyntheticNetwork({1, firstLayerBias});
        setupPosition(middleGame, mainPos);
        mainPos.accumulatorCache = cache.data();
    }
    ~workspace() { mainPos.accumulatorCache = nullptr; }
    workspace(const workspace &) = delete;
    workspace &operator=(const workspace &) = delete;
};

void sumFromNothing(benchmark::State &state)
{
    const workspace work;
    mainPos.accumulatorCache = nullptr;
    for (auto _ : state)
    {
        mainPos.accumulatorBlocks[0].computed = false;
        updateAccumulators(mainPos, 0);
    }
}
BENCHMARK(sumFromNothing);

/// The kings step to and fro and meet their earlier sums again.
void sumThroughTable(benchmark::State &state)
{
    const workspace work;
    const moveCode step = encodeMove(g1, h1);
    updateAccumulators(mainPos, 0);
    for (auto _ : state)
    {
        makeMove(mainPos, 0, step);
        updateAccumulators(mainPos, 1);
        unmakeMove(mainPos, 0, step);
    }
}
BENCHMARK(sumThroughTable);

/// One move made, summed, maybe evaluated, and taken back.
template <bool Evaluate> void oneMove(benchmark::State &state)
{
    const workspace work;
    updateAccumulators(mainPos, 0);
    std::size_t next = 0;
    for (auto _ : state)
    {
        const benchMove &made = benchMoves[next];
        next = (next + 1) % std::size(benchMoves);
        mainPos.sideToMove = static_cast<std::uint8_t>(made.side);
        makeMove(mainPos, 0, made.move);
        if constexpr (Evaluate)
            benchmark::DoNotOptimize(networkScore(mainPos, 1, fullPhase));
        else
            updateAccumulators(mainPos, 1);
        unmakeMove(mainPos, 0, made.move);
    }
}
void moveAndSum(benchmark::State &state) { oneMove<false>(state); }
void moveAndScore(benchmark::State &state) { oneMove<true>(state); }
BENCHMARK(moveAndSum);
BENCHMARK(moveAndScore);

/// The pass alone, its sums computed; the argument is the bias of the first layer.
void passAlone(benchmark::State &state)
{
    const workspace work(static_cast<int>(state.range(0)));
    updateAccumulators(mainPos, 0);
    int alive = 0;
    for (const auto &view : mainPos.accumulatorBlocks[0].accumulator)
        alive += static_cast<int>(std::ranges::count_if(view, [](std::int16_t lane) { return lane > 0; }));
    for (auto _ : state)
        benchmark::DoNotOptimize(networkOutput(mainPos, 0));
    state.counters["inputsAlive"] = static_cast<double>(alive) / networkInputs;
}
BENCHMARK(passAlone)->Arg(100)->Arg(60)->Arg(0)->Arg(-20)->Arg(-50)->Arg(-200);

} // namespace
