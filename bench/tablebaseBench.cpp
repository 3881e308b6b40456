// Warm probes of the endgame tables over random positions: the files are mapped and in memory.
//
// Takes the tables below the directory that TARVONEL_TEST_DATA names, or below ../shared; skips
// itself where there are none.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <random>
#include <string>
#include <vector>

#include "tablebase/probe.h"
#include "tablebase/tableProbe.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

namespace
{

constexpr int positionCount = 4096;

std::string tablesDirectory()
{
    const char *data = std::getenv("TARVONEL_TEST_DATA");
    return std::string(data != nullptr ? data : "../shared") + "/syzygy";
}

/// Two kings and two random men on random squares, as far as there is a table for them.
std::vector<tbPosition> randomPositions()
{
    std::mt19937_64 random(1);
    std::vector<tbPosition> positions;
    while (positions.size() < positionCount)
    {
        tbPosition position = {};
        int men = 0;
        for (const int type : {int{king}, int{king}, static_cast<int>(random() % 5), static_cast<int>(random() % 5)})
        {
            const bitboard square = bit(static_cast<int>(random() % squareCount));
            position.*typeSets[type] |= square;
            const bool isWhite = men < 2 ? men == 0 : random() % 2 != 0;
            (isWhite ? position.white : position.black) |= square;
            ++men;
        }
        position.turn = random() % 2 != 0;
        int success = 0;
        if (popCount(allMen(position)) == men && tbValid(position) && (probeWdl(position, success), success != 0))
            positions.push_back(position);
    }
    return positions;
}

template <typename Probe> void timeProbes(benchmark::State &state, Probe &&probe)
{
    initTablebases(tablesDirectory());
    if (tableCardinality < 4)
    {
        state.SkipWithError("no endgame tables of four men");
        return;
    }
    const std::vector<tbPosition> positions = randomPositions();
    for (const tbPosition &position : positions)
        probe(position);
    for ([[maybe_unused]] auto round : state)
        for (const tbPosition &position : positions)
            benchmark::DoNotOptimize(probe(position));
    state.SetItemsProcessed(static_cast<std::int64_t>(state.iterations()) * positionCount);
    initTablebases("");
}

void storedWdlValue(benchmark::State &state)
{
    timeProbes(state,
               [](const tbPosition &position)
               {
                   int success = 1;
                   return probeTable(position, 0, success, wdlKind);
               });
}
BENCHMARK(storedWdlValue)->Unit(benchmark::kMillisecond);

void wdlProbe(benchmark::State &state)
{
    timeProbes(state,
               [](const tbPosition &position)
               {
                   int success = 0;
                   return probeWdl(position, success);
               });
}
BENCHMARK(wdlProbe)->Unit(benchmark::kMillisecond);

void dtzProbe(benchmark::State &state)
{
    timeProbes(state,
               [](const tbPosition &position)
               {
                   int success = 0;
                   return probeDtz(position, success);
               });
}
BENCHMARK(dtzProbe)->Unit(benchmark::kMillisecond);

} // namespace

} // namespace tarvonel
