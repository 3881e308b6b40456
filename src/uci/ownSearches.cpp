#include "uci/ownSearches.h"

#include <utility>

#include "search/transpositionTable.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

/// Gives threads and table the sizes of the options.
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

searchResult searchAfresh(int depth)
{
    ttClear();
    clearWorkerHistory();
    clearEvaluationCaches();
    return runSearch(mainPos, {.depthLimit = depth});
}

} // namespace tarvonel
