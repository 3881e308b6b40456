#include "search/worker.h"

#include <exception>
#include <new>

#include "board/engineOptions.h"
#include "platform/clock.h"
#include "platform/largeMemory.h"
#include "platform/threadPlacement.h"
#include "search/score.h"
#include "search/search.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

std::vector<std::unique_ptr<worker>> workerPool;

namespace
{

/// Appends a worker with its thread. False if there is no memory or no thread.
bool addWorker()
{
    try
    {
        workerPool.reserve(workerPool.size() + 1);
        auto created = std::make_unique<worker>(static_cast<int>(workerPool.size()));
        if (!created->start())
            return false;
        workerPool.push_back(std::move(created));
        return true;
    }
    catch (const std::bad_alloc &)
    {
        return false;
    }
}

/// A new boss in the memory of the old one.
void renewBoss()
{
    auto *const block = static_cast<boss *>(workerPool.front().release());
    block->~boss();
    workerPool.front().reset(::new (block) boss);
}

/// Deeper results rank higher, finished iterations above unfinished ones of the same depth.
int rankOfResult(const worker &each)
{
    return 2 * each.position.rootDepth + (each.position.rootDepthDone != 0 ? 1 : 0);
}

void prepareSearch(const pos &root)
{
    stopSearch = false;
    timeIsUp = false;
    deepestTimed = 0;
    ttAdvanceAge();
    for (const auto &each : workerPool)
    {
        each->adopt(root);
        each->position.threadIndex = each->threadIndex;
    }
}

} // namespace

void *worker::operator new(std::size_t bytes, std::align_val_t /*alignment*/)
{
    if (void *block = allocateLarge(bytes); block != nullptr)
        return block;
    throw std::bad_alloc{};
}

void worker::operator delete(void *block, std::size_t bytes, std::align_val_t /*alignment*/)
{
    releaseLarge(block, bytes);
}

worker::~worker()
{
    if (!isStarted())
        return;
    {
        const std::lock_guard guard(lock);
        exiting = true;
        searching = true;
        condition.notify_one();
    }
    thread.join();
}

bool worker::start()
{
    searching = true;
    try
    {
        thread = std::thread(&worker::idleLoop, this);
    }
    catch (const std::exception &) // no thread, or no memory for one
    {
        searching = false;
        return false;
    }
    waitForSearchEnd();
    return true;
}

void worker::idleLoop()
{
    for (;;)
    {
        bindThreadToNode(threadIndex, engineOptions.numaNode);
        {
            std::unique_lock guard(lock);
            searching = false;
            condition.notify_one();
            condition.wait(guard, [this] { return searching; });
            if (exiting)
                return;
        }
        search();
    }
}

void worker::wake()
{
    const std::lock_guard guard(lock);
    searching = true;
    condition.notify_one();
}

void worker::waitForSearchEnd()
{
    std::unique_lock guard(lock);
    condition.wait(guard, [this] { return !searching; });
}

bool worker::isSearching()
{
    const std::lock_guard guard(lock);
    return searching;
}

boss &theBoss() { return static_cast<boss &>(*workerPool.front()); }

int rebuildWorkerPool(int count)
{
    if (!workerPool.empty())
        theBoss().waitForSearchEnd();
    while (workerPool.size() > (count > 0 ? 1 : 0))
        workerPool.pop_back();
    if (count < 1)
        return 0;
    if (workerPool.empty())
        workerPool.push_back(std::make_unique<boss>());
    else
        renewBoss();
    theBoss().start(); // if this fails, it searches on the caller's thread
    while (static_cast<int>(workerPool.size()) < count && addWorker())
    {
    }
    return static_cast<int>(workerPool.size());
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

searchResources::searchResources(int threads, int hashMegabytes)
{
    ttResize(hashMegabytes);
    rebuildWorkerPool(threads);
}

searchResources::~searchResources()
{
    rebuildWorkerPool(0);
    ttRelease();
}

void clearWorkerHistory()
{
    for (const auto &each : workerPool)
        each->tables.clearHistory();
}

void clearEvaluationCaches()
{
    for (const auto &each : workerPool)
        each->tables.clear();
}

bool isSearchRunning() { return !workerPool.empty() && theBoss().isSearching(); }

void waitForSearch()
{
    if (!workerPool.empty())
        theBoss().waitForSearchEnd();
}

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

void worker::search() { searchRoot(*this); }

void boss::search()
{
    bestSoFar = ponderSoFar = noMove;
    for (const auto &each : workerPool)
        if (each.get() != this)
            each->wake();
    const bool isSearched = searchRoot(*this);

    // An infinite or ponder search must wait for `stop` or `ponderhit` before it answers.
    timeIsUp = true;
    while (!stopSearch && (pondering || searchLimits.infinite))
        sleepMilliseconds(1);
    stopSearch = true;
    for (const auto &each : workerPool)
        if (each.get() != this)
            each->waitForSearchEnd();

    worker &best = isSearched ? chooseBestThread() : *this;
    pos &found = best.position;
    if (&best != this)
    {
        walkPrincipalVariation(found, found.rootDepth);
        reporter.iterationDone(found, found.rootScore, found.rootDepth, found.selDepth);
    }
    answer(found);
}

void boss::answer(const pos &found)
{
    moveCode bestMove = found.info[0].pvMove;
    if (bestMove == noMove)
        bestMove = firstRootMove; // stopped before any result
    moveCode ponderMove = noMove;
    if (found.pvLast > 0)
        ponderMove = found.info[1].pvMove;
    else if (sameMove(bestMove, bestSoFar))
        ponderMove = ponderSoFar;
    result = {.best = bestMove & moveIdentityMask,
              .ponder = ponderMove & moveIdentityMask,
              .score = found.rootScore == noScore ? scoreDraw : found.rootScore,
              .depth = found.rootDepthDone != 0 ? found.rootDepth : found.rootDepth - 1,
              .nodes = sumUpSearch().nodes};
    reporter.answer(bestMove, ponderMove, found.sideToMove, position);
}

void startSearch(const pos &root)
{
    prepareSearch(root);
    if (theBoss().isStarted())
        theBoss().wake();
    else
        theBoss().search();
}

searchResult runSearch(const pos &root, const searchLimitValues &limits)
{
    searchLimits = limits;
    searchLimits.startTimeMs = millisecondsNow();
    if (limits.hardNodes != 0)
        searchLimits.pollInterval = budgetPollInterval;
    pondering = false;
    prepareSearch(root);
    theBoss().search();
    return theBoss().result;
}

} // namespace tarvonel
