#include "uci/benchCommand.h"

#include <algorithm>
#include <memory>
#include <string>
#include <utility>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/networkFile.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "search/searchLimits.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/benchPositions.h"
#include "uci/netFile.h"
#include "uci/options.h"

namespace tarvonel
{
namespace
{

constexpr int endlessMilliseconds = 1 << 30;

/// Nodes of a search that knows nothing of earlier ones.
std::uint64_t searchAfresh(const benchPosition &entry, int depth)
{
    engineOptions.chess960 = entry.chess960;
    setupPosition(entry.fen, mainPos);
    ttClear();
    clearWorkerHistory();
    clearEvaluationCaches();
    searchLimits = searchLimitValues();
    searchLimits.startTimeMs = millisecondsNow();
    searchLimits.depthLimit = depth;
    searchLimits.optimalTime = endlessMilliseconds;
    searchLimits.maximumTime = endlessMilliseconds;
    searchLimits.pollInterval = defaultPollInterval;
    startSearch(mainPos);
    waitForSearch();
    return sumUpSearch().nodes;
}

/// Puts threads and table to the sizes that the options tell.
void takeThreadsAndTable()
{
    engineOptions.threadCount = rebuildWorkerPool(engineOptions.threadCount);
    resizeHashTable(engineOptions.hashMegabytes);
}

} // namespace

benchEffort searchBenchPositions(int depth)
{
    benchEffort effort;
    const std::int64_t start = millisecondsNow();
    pondering = false;
    for (const benchPosition &entry : benchPositions)
        effort.nodes += searchAfresh(entry, depth);
    effort.milliseconds = std::max<std::int64_t>(millisecondsNow() - start, 1);
    return effort;
}

void bench(const benchSettings &settings)
{
    if (!netLoaded)
    {
        printNetFileMissing("a position");
        return;
    }
    const auto position = std::make_unique<pos>(mainPos);
    const engineOptionValues options = engineOptions;
    const searchLimitValues limits = searchLimits;
    const searchReporter installed = std::exchange(reporter, {});
    engineOptions.threadCount = settings.threads;
    engineOptions.hashMegabytes = settings.hashMegabytes;
    takeThreadsAndTable();

    const benchEffort effort = searchBenchPositions(settings.depth);

    mainPos = *position;
    engineOptions = options;
    searchLimits = limits;
    reporter = installed;
    takeThreadsAndTable();
    constexpr std::uint64_t millisecondsPerSecond = 1000;
    printLine(std::to_string(effort.nodes) + " nodes " +
              std::to_string(effort.nodes * millisecondsPerSecond / static_cast<std::uint64_t>(effort.milliseconds)) +
              " nps");
}

} // namespace tarvonel
