// Warm tablebase probes over random positions: the files are mapped and in memory.
//
// The files are in syzygy/ in the directory that TARVONEL_TEST_DATA names, or in ../shared. Without tablebases
// of four pieces these benchmarks are left out.
#include <benchmark/benchmark.h>

#include <cstdlib>
#include <iostream>
#include <random>
#include <string>
#include <vector>

#include "tablebase/tbProbe.h"
#include "tablebase/tbRegistry.h"
#include "tablebaseBench.h"

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

/// Two kings and two random pieces on random squares that the tablebases cover.
std::vector<tbPosition> randomPositions()
{
    std::mt19937_64 random(1);
    std::vector<tbPosition> positions;
    while (positions.size() < positionCount)
    {
        tbPosition position = {};
        int pieces = 0;
        for (const int type : {int{king}, int{king}, static_cast<int>(random() % 5), static_cast<int>(random() % 5)})
        {
            const bitboard square = bit(static_cast<int>(random() % squareCount));
            position.*typeSets[type] |= square;
            const bool isWhite = pieces < 2 ? pieces == 0 : random() % 2 != 0;
            (isWhite ? position.white : position.black) |= square;
            ++pieces;
        }
        position.turn = random() % 2 != 0;
        int success = 0;
        if (popCount(allPieces(position)) == pieces && tbValid(position) && (probeWdl(position, success), success != 0))
            positions.push_back(position);
    }
    return positions;
}

template <typename Probe> void timeProbes(benchmark::State &state, Probe &&probe)
{
    initTablebases(tablesDirectory());
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

void wdlProbe(benchmark::State &state)
{
    timeProbes(state,
               [](const tbPosition &position)
               {
                   int success = 0;
                   return probeWdl(position, success);
               });
}

void dtzProbe(benchmark::State &state)
{
    timeProbes(state,
               [](const tbPosition &position)
               {
                   int success = 0;
                   return probeDtz(position, success);
               });
}

} // namespace

void registerTablebaseBenchmarks()
{
    initTablebases(tablesDirectory());
    const bool isComplete = tableCardinality >= 4;
    initTablebases("");
    if (!isComplete)
    {
        std::cout << "There are no four-piece tablebases in " << tablesDirectory() << ": no timings of probes.\n";
        return;
    }
    benchmark::RegisterBenchmark("storedWdlValue", storedWdlValue)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("wdlProbe", wdlProbe)->Unit(benchmark::kMillisecond);
    benchmark::RegisterBenchmark("dtzProbe", dtzProbe)->Unit(benchmark::kMillisecond);
}

} // namespace tarvonel
