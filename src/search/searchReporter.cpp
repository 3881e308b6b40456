#include "search/searchReporter.h"

#include <algorithm>

#include "platform/clock.h"
#include "search/searchLimits.h"
#include "search/worker.h"

namespace tarvonel
{

searchReporter reporter;

std::uint64_t measureElapsed()
{
    searchLimits.elapsedMs = static_cast<std::uint64_t>(millisecondsNow() - searchLimits.startTimeMs);
    return searchLimits.elapsedMs;
}

searchTotals sumUpSearch()
{
    constexpr std::uint64_t millisecondsPerSecond = 1000;
    searchTotals totals;
    for (const auto &each : workerPool)
    {
        totals.nodes += nodesOf(each->position);
        totals.tablebaseHits += each->position.tablebaseHits;
    }
    totals.elapsedMs = searchLimits.elapsedMs; // read once: other threads may set it to 0 again
    if (totals.elapsedMs == 0)
    {
        totals.elapsedMs = 1;
        searchLimits.elapsedMs = 1;
    }
    totals.nodesPerSecond = totals.nodes * millisecondsPerSecond / totals.elapsedMs;
    return totals;
}

} // namespace tarvonel
