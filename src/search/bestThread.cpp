#include "search/bestThread.h"

#include "board/engineOptions.h"
#include "search/score.h"
#include "search/searchLimits.h"

namespace tarvonel
{

namespace
{

/// Order of results: by depth, and of one depth the finished iteration first.
int rankOfResult(const worker &each)
{
    return 2 * each.position.rootDepth + (each.position.rootDepthDone != 0 ? 1 : 0);
}

} // namespace

worker &chooseBestThread()
{
    worker *best = &theBoss();
    if (engineOptions.threadCount == 1 || searchLimits.depthLimit != 0)
        return *best;
    int bestRank = rankOfResult(*best);
    for (const auto &each : workerPool)
    {
        const int rank = rankOfResult(*each);
        const int rootScore = each->position.rootScore;
        const bool isBetter =
            rank == bestRank || rootScore >= mateThreshold ? rootScore > best->position.rootScore : rank > bestRank;
        if (isBetter)
        {
            best = each.get();
            bestRank = rank;
        }
    }
    return *best;
}

} // namespace tarvonel
