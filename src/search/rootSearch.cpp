// Iterative deepening with aspiration windows, and the frame that the boss puts around it: waking
// the others, choosing the thread whose result counts, answering. (Lazy SMP: all threads search
// the same root and meet in the transposition table alone.)

#include <algorithm>
#include <cstdint>

#include "board/engineOptions.h"
#include "movegen/legality.h"
#include "platform/clock.h"
#include "search/alphaBeta.h"
#include "search/bestThread.h"
#include "search/principalVariation.h"
#include "search/score.h"
#include "search/searchLimits.h"
#include "search/searchReporter.h"
#include "search/tablebaseProbe.h"
#include "search/transpositionTable.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

constexpr int aspirationRows = 32;
constexpr int wideningSteps = 4;

/// By thread: half-width of the first window, then the widening steps. The rows differ, so that
/// the threads do not all look at the same tree.
constexpr std::int16_t aspirationTable[aspirationRows][1 + wideningSteps] = {
    {15, 35, 40, 80, 160},  {9, 24, 34, 75, 113},   {15, 35, 40, 80, 160},  {54, 69, 79, 195, 15},
    {35, 40, 80, 160, 15},  {35, 40, 80, 160, 12},  {27, 37, 83, 117, 51},  {66, 76, 187, 169, 15},
    {35, 40, 80, 160, 15},  {35, 40, 80, 160, 15},  {35, 40, 80, 160, 48},  {63, 73, 179, 165, 15},
    {30, 40, 91, 121, 18},  {33, 43, 99, 125, 15},  {35, 40, 80, 160, 45},  {60, 70, 171, 161, 21},
    {36, 46, 107, 129, 15}, {35, 40, 80, 160, 15},  {35, 40, 80, 160, 42},  {57, 67, 163, 157, 15},
    {35, 40, 80, 160, 15},  {35, 40, 80, 160, 24},  {39, 49, 115, 133, 39}, {54, 64, 155, 153, 27},
    {42, 52, 123, 137, 15}, {35, 40, 80, 160, 15},  {35, 40, 80, 160, 36},  {51, 61, 147, 149, 15},
    {35, 40, 80, 160, 30},  {45, 55, 131, 141, 15}, {35, 40, 80, 160, 33},  {48, 58, 139, 145, 0},
};

constexpr int openWindowDepth = 5;   // up to here the window is full and the time factor 1
constexpr int firstReportDepth = 10; // reports, root stores and the skipping of depths start here
constexpr int singleMoveDepth = 3;   // depth limit with one legal move at the root
constexpr int timeGateDivisor = 16;
constexpr int minTimeGate = 100; // milliseconds

constexpr double calmTimeFactor = 0.9; // per iteration without a change of mind
constexpr double unrestWeight = 0.2;   // per change of mind
constexpr double unrestDecay = 0.8;
constexpr double minTimeFactor = 0.6;
constexpr double maxTimeFactor = 2.0;
constexpr int calmChanges = 1;

/// Bounds of windows wrap at 16 bits.
int wrappedBound(int value) { return static_cast<std::int16_t>(value); }

/// The iterations of one thread.
class deepening
{
  public:
    explicit deepening(worker &owner)
        : self(owner), position(owner.position), isFirst(owner.threadIndex == 0),
          steps(aspirationTable[owner.threadIndex % aspirationRows]),
          timeGate(std::max<std::uint64_t>(
              minTimeGate, static_cast<std::uint64_t>(std::max(0, searchLimits.optimalTime / timeGateDivisor))))
    {
        const int threads = engineOptions.threadCount;
        constexpr int smallPool = 3;
        depthQuorum = threads > smallPool ? threads / 2 + 1 : threads / 2;
    }

    /// False when the root is settled without a search.
    bool prepare();
    void run();

  private:
    bool isSettledAtRoot();
    bool isDepthTaken() const;
    void openWindow();
    void searchWindow();
    void failLow(int result);
    void failHigh(int result);
    void stopIfOutOfTime() const;
    void acceptResult(int result);
    void reportIteration();
    bool isMateProved() const;
    void adjustTimeFactor(int changes);
    void decideOnLimits();
    int instability() const;

    worker &self;
    pos &position;
    const bool isFirst; ///< reports, uses the tables at the root and always decides on time
    const std::int16_t *const steps;
    const std::uint64_t timeGate; ///< milliseconds before another thread may decide; never on a depth limit
    int depthQuorum = 0;          ///< so many others on a depth make this thread skip it
    int localDepthLimit = 0;
    int depth = 0;
    int score = noScore; ///< of the last finished iteration
    int alpha = -infiniteScore;
    int beta = infiniteScore;
    int failLows = 0;
    int failHighs = 0;
    int failHighStreak = 0; ///< since the last fail low
    double timeFactor = 1.0;
    bool keepGoing = true;
};

bool deepening::isSettledAtRoot()
{
    posinfo &root = position.info[0];
    if (root.inCheck != 0 && root.listEnd == root.listStart)
    {
        stopSearch = true;
        if (reporter.matedAtRoot != nullptr)
            reporter.matedAtRoot();
        root.pvMove = noMove;
        position.rootScore = -scoreMate;
    }
    else if (isTableRoot(position))
    {
        const moveCode move = probeAtRoot(position);
        if (move == noMove)
            return false;
        stopSearch = true;
        root.pvMove = move;
        position.rootDepthDone = 1;
        position.rootDepth = maxPly;
    }
    else
        return false;
    position.pvLast = 0;
    searchLimits.elapsedMs = 1;
    return true;
}

bool deepening::prepare()
{
    posinfo &root = position.info[0];
    position.pollCountdown = searchLimits.pollInterval;
    root.killers[0] = root.killers[1] = noMove;
    timeIsUp = false;

    buildLegalList(0, root.listStart, position);
    self.firstRootMove = root.listEnd > root.listStart ? *root.listStart : noMove;
    position.rootDepthDone = 1;
    position.rootDepth = 0;
    position.rootScore = noScore;
    if (isFirst && isSettledAtRoot())
        return false;

    localDepthLimit = root.listEnd - root.listStart == 1 ? singleMoveDepth : searchLimits.depthLimit;
    root.noNullMove = 0;
    position.info[1].noNullMove = 0;
    return true;
}

bool deepening::isDepthTaken() const
{
    if (isFirst || depth < firstReportDepth)
        return false;
    const auto isThere = [this](const auto &other) { return other.get() != &self && other->currentDepth >= depth; };
    return std::ranges::count_if(workerPool, isThere) >= depthQuorum;
}

void deepening::openWindow()
{
    failLows = failHighs = failHighStreak = 0;
    position.selDepth = 0;
    position.rootChanges = 0;
    self.currentDepth = depth;
    if (depth > openWindowDepth)
    {
        alpha = wrappedBound(score - steps[0]);
        beta = wrappedBound(score + steps[0]);
    }
}

void deepening::failLow(int result)
{
    ++failLows;
    failHighStreak = 0;
    beta = (alpha + beta) / 2;
    alpha = failLows <= wideningSteps ? wrappedBound(result - steps[failLows]) : -scoreMate;
}

void deepening::failHigh(int result)
{
    ++failHighs;
    ++failHighStreak;
    beta = failHighs <= wideningSteps ? wrappedBound(result + steps[failHighs]) : scoreMate;
}

/// A fail high in time trouble: the move is good enough.
void deepening::stopIfOutOfTime() const
{
    if (!isFirst || searchLimits.infinite || pondering || localDepthLimit != 0)
        return;
    if (static_cast<double>(measureElapsed()) > searchLimits.optimalTime * timeFactor)
        stopSearch = true;
}

/// Searches until the result lies inside the window or the search is stopped.
void deepening::searchWindow()
{
    while (!stopSearch)
    {
        const int result = alphaBeta(0, std::max(depth - failHighStreak, 1), alpha, beta, position);
        if (result <= alpha)
            failLow(result);
        else if (result >= beta)
        {
            failHigh(result);
            if (failLows == 0)
                stopIfOutOfTime();
        }
        else if (!stopSearch)
        {
            acceptResult(result);
            return;
        }
    }
}

void deepening::acceptResult(int result)
{
    score = result;
    position.rootScore = static_cast<std::int16_t>(result);
    if (isFirst && depth >= firstReportDepth)
        ttStore(position.key, position.info[0].pvMove, result, depth, boundExact, 0);
    position.rootDepthDone = 1;
    position.rootDepth = static_cast<std::int16_t>(depth);
}

/// How often the iteration changed its mind.
int deepening::instability() const
{
    const int fails = failLows > 1 || failHighs > 1 ? std::max(failLows, failHighs) - 1 : 0;
    return position.rootChanges + fails;
}

bool deepening::isMateProved() const
{
    return (score >= mateThreshold && scoreMate - score <= depth) ||
           (score <= -mateThreshold && score + scoreMate <= depth);
}

void deepening::reportIteration()
{
    walkPrincipalVariation(position, depth);
    if (!stopSearch && position.pvLast > 0)
    {
        theBoss().bestSoFar = position.info[0].pvMove;
        theBoss().ponderSoFar = position.info[1].pvMove;
    }
    if (reporter.iterationDone != nullptr)
        reporter.iterationDone(position, score, depth, position.selDepth);
}

/// A restless iteration stretches the time for the move, calm ones shrink it.
void deepening::adjustTimeFactor(int changes)
{
    if (depth <= openWindowDepth)
    {
        timeFactor = 1.0;
        return;
    }
    if (changes <= calmChanges)
        timeFactor *= calmTimeFactor;
    else
    {
        const double unrest = changes * unrestWeight;
        timeFactor = (timeFactor <= 1.0 ? 1.0 : unrestDecay * timeFactor) + unrest;
    }
    timeFactor = std::clamp(timeFactor, minTimeFactor, maxTimeFactor);
}

/// Whether another iteration may begin.
void deepening::decideOnLimits()
{
    if (localDepthLimit != 0)
    {
        if (depth >= localDepthLimit)
            keepGoing = false;
    }
    else
    {
        const float elapsed = static_cast<float>(searchLimits.elapsedMs.load()) * searchLimits.timeScale;
        if (elapsed > searchLimits.optimalTime * timeFactor)
            timeIsUp = true;
        keepGoing = pondering || !timeIsUp;
    }
    if (searchLimits.softNodes != 0 && nodesOf(position) >= searchLimits.softNodes)
        keepGoing = false;
    if (searchLimits.infinite)
        keepGoing = true;
}

void deepening::run()
{
    while (!stopSearch && depth < maxPly && keepGoing)
    {
        ++depth;
        if (isDepthTaken())
            continue;
        openWindow();
        searchWindow();
        const int changes = instability();
        const std::uint64_t elapsed = measureElapsed();

        if (isFirst)
        {
            if (depth >= firstReportDepth)
                reportIteration();
            if (isMateProved() && !stopSearch)
            {
                if (reporter.mateFound != nullptr)
                    reporter.mateFound(position, score, depth);
                if (!searchLimits.infinite && !pondering)
                    break;
            }
        }

        bool isDeciding = isFirst;
        if (localDepthLimit == 0 && elapsed > timeGate && depth > deepestTimed)
        {
            deepestTimed = depth;
            isDeciding = true;
        }
        adjustTimeFactor(changes);
        if (isDeciding)
            decideOnLimits();
    }
    measureElapsed();
    if (!keepGoing)
        stopSearch = true;
}

/// The search of one thread. False when the root was settled without one.
bool deepen(worker &owner)
{
    deepening iterations(owner);
    if (!iterations.prepare())
        return false;
    iterations.run();
    return true;
}

} // namespace

void worker::search() { deepen(*this); }

void boss::search()
{
    bestSoFar = ponderSoFar = noMove;
    for (const auto &each : workerPool)
        if (each.get() != this)
            each->wake();
    const bool isSearched = deepen(*this);
    timeIsUp = true;
    while (!stopSearch && (pondering || searchLimits.infinite))
        sleepMilliseconds(1);
    stopSearch = true;
    for (const auto &each : workerPool)
        if (each.get() != this)
            each->waitForSearchEnd();

    worker &best = isSearched ? chooseBestThread() : *this; // a settled root needs no opinion
    if (&best != this)
    {
        walkPrincipalVariation(best.position, best.position.rootDepth);
        if (reporter.iterationDone != nullptr)
            reporter.iterationDone(best.position, best.position.rootScore, best.position.rootDepth,
                                   best.position.selDepth);
    }
    moveCode bestMove = best.position.info[0].pvMove;
    if (bestMove == noMove)
        bestMove = firstRootMove; // stopped before the root knew better: any legal move will do
    moveCode ponderMove = noMove;
    if (best.position.pvLast > 0)
        ponderMove = best.position.info[1].pvMove;
    else if (sameMove(bestMove, bestSoFar))
        ponderMove = ponderSoFar;
    const pos &found = best.position;
    result = {.best = bestMove & moveIdentityMask,
              .ponder = ponderMove & moveIdentityMask,
              .score = found.rootScore == noScore ? scoreDraw : found.rootScore,
              .depth = found.rootDepthDone != 0 ? found.rootDepth : found.rootDepth - 1,
              .nodes = sumUpSearch().nodes};
    if (reporter.answer != nullptr)
        reporter.answer(bestMove, ponderMove, best.position.sideToMove, position);
}

} // namespace tarvonel
