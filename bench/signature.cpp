// The search signature: the nodes of a single-threaded search over a fixed list of positions at a
// fixed depth. It changes exactly when the search or the evaluation does, and never with the build.
//
//   tarvonelSignature [DEPTH]
//
// The network is made from a fixed seed, so that the number depends on the code alone.
#include <cstdlib>
#include <iostream>

#include "board/attackTables.h"
#include "platform/parseText.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "support/syntheticNetwork.h"
#include "uci/commands.h"

using namespace tarvonel;

namespace
{

constexpr int signatureDepth = 13;

} // namespace

int main(int argc, char **argv)
{
    const benchSettings settings;
    const int depth = argc > 1 ? wholeNumber<int>(argv[1]).value_or(0) : signatureDepth;
    if (depth < minBenchDepth)
    {
        std::cerr << "usage: tarvonelSignature [DEPTH]\n";
        return EXIT_FAILURE;
    }
    initTables();
    useSyntheticNetwork();
    const searchResources resources(settings.threads, settings.hashMegabytes);
    const benchEffort effort = searchBenchPositions(depth);
    std::cout << "bench: " << effort.nodes << '\n'
              << "nodes per second: " << effort.nodes * 1000 / static_cast<std::uint64_t>(effort.milliseconds) << '\n';
    return EXIT_SUCCESS;
}
