#include "uci/ownSearches.h"

#include <utility>

#include "platform/clock.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/options.h"

namespace tarvonel
{
namespace
{

constexpr int endlessMilliseconds = 1 << 30;

/// Puts threads and table to the sizes that the options tell.
void takeThreadsAndTable()
{
    engineOptions.threadCount = rebuildWorkerPool(engineOptions.threadCount);
    resizeHashTable(engineOptions.hashMegabytes);
}

} // namespace

setAsideState beginOwnSearches(int threads, int hashMegabytes)
{
    setAsideState before{std::make_unique<pos>(mainPos), engineOptions, searchLimits, std::exchange(reporter, {})};
    engineOptions.threadCount = threads;
    engineOptions.hashMegabytes = hashMegabytes;
    takeThreadsAndTable();
    return before;
}

void endOwnSearches(const setAsideState &before)
{
    mainPos = *before.position;
    engineOptions = before.options;
    searchLimits = before.limits;
    reporter = before.installed;
    takeThreadsAndTable();
}

void searchAfresh(int depth)
{
    pondering = false;
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
}

} // namespace tarvonel
