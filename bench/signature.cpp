// The search signature: the nodes of a single-threaded search over a fixed list of positions at a
// fixed depth. It changes exactly when the search or the evaluation does, and never with the build.
//
//   tarvonelSignature [DEPTH]
//
// The network is made from a fixed seed, so that the shipped file does not matter.
#include <cstdint>
#include <cstdlib>
#include <iostream>

#include "benchPositions.h"
#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/pos.h"
#include "board/setup.h"
#include "platform/clock.h"
#include "platform/parseNumber.h"
#include "search/searchLimits.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "support/syntheticNetwork.h"

using namespace tarvonel;

namespace
{

constexpr int signatureDepth = 13;
constexpr int signatureMegabytes = 16;
constexpr int endlessMilliseconds = 1 << 30;

/// Nodes of a search that knows nothing of earlier ones.
std::uint64_t searchAfresh(const benchPosition &entry, int depth)
{
    engineOptions.chess960 = entry.chess960;
    if (const std::string complaint = setupPosition(entry.fen, mainPos); !complaint.empty())
    {
        std::cerr << entry.fen << ": " << complaint << '\n';
        std::exit(EXIT_FAILURE);
    }
    ttClear();
    clearWorkerHistory();
    clearEvaluationCaches();
    searchLimits.startTimeMs = millisecondsNow();
    searchLimits.depthLimit = depth;
    searchLimits.optimalTime = endlessMilliseconds;
    searchLimits.maximumTime = endlessMilliseconds;
    searchLimits.pollInterval = defaultPollInterval;
    startSearch(mainPos);
    waitForSearch();
    return sumUpSearch().nodes;
}

} // namespace

int main(int argc, char **argv)
{
    const int depth = argc > 1 ? wholeNumber<int>(argv[1]).value_or(0) : signatureDepth;
    if (depth < 1)
    {
        std::cerr << "usage: tarvonelSignature [DEPTH]\n";
        return EXIT_FAILURE;
    }
    initTables();
    useSyntheticNetwork();
    ttResize(signatureMegabytes);
    rebuildWorkerPool(1);

    std::uint64_t nodes = 0;
    const std::int64_t start = millisecondsNow();
    for (const benchPosition &entry : benchPositions)
        nodes += searchAfresh(entry, depth);
    const std::int64_t elapsed = std::max<std::int64_t>(millisecondsNow() - start, 1);

    std::cout << "bench: " << nodes << '\n'
              << "nodes per second: " << nodes * 1000 / static_cast<std::uint64_t>(elapsed) << '\n';
    rebuildWorkerPool(0);
    ttRelease();
    return EXIT_SUCCESS;
}
