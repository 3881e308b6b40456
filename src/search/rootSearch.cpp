#include "search/search.h"

#include <algorithm>
#include <cstdint>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/makeMove.h"
#include "movegen/legality.h"
#include "search/score.h"
#include "search/searchLimits.h"
#include "search/searchReporter.h"
#include "search/tbSearch.h"
#include "search/transpositionTable.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

constexpr int aspirationRows = 32;
constexpr int wideningSteps = 4;

/// By thread: half-width of the first window, then the widening steps. Different rows let the threads
/// search different trees.
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

constexpr int fullWindowMaxDepth = 5; // up to here: full window, time factor 1
constexpr int firstReportDepth = 10;  // from here on: reports, stores of the root, skipped depths
constexpr int singleMoveDepth = 3;    // depth limit if the root has one legal move
constexpr int timeGateDivisor = 16;
constexpr int minTimeGate = 100; // milliseconds

/// Window bounds wrap at 16 bits.
int wrappedBound(int value) { return static_cast<std::int16_t>(value); }

/// The iterations of one thread. (Lazy SMP: all threads search the same root and share only the
/// transposition table.)
class iterativeDeepening
{
  public:
    explicit iterativeDeepening(worker &owner)
        : self(owner), position(owner.position), isBoss(owner.threadIndex == 0),
          steps(aspirationTable[owner.threadIndex % aspirationRows]),
          timeGate(std::max<std::uint64_t>(
              minTimeGate, static_cast<std::uint64_t>(std::max(0, searchLimits.optimalTime / timeGateDivisor))))
    {
        const int threads = engineOptions.threadCount;
        constexpr int smallPool = 3;
        depthQuorum = threads > smallPool ? threads / 2 + 1 : threads / 2;
    }

    /// False if the root is resolved without a search.
    bool prepare();
    void run();

  private:
    bool isRootResolved();
    bool isDepthSkipped() const;
    void startIteration();
    void searchIteration();
    void failLow(int result);
    void failHigh(int result);
    void stopIfOutOfTime() const;
    void acceptResult(int result);
    void reportIteration();
    bool isMateProved() const;
    void decideOnLimits();
    int instability() const;

    worker &self;
    pos &position;
    const bool isBoss; ///< reports, probes the root and always decides on time
    const std::int16_t *const steps;
    const std::uint64_t timeGate; ///< milliseconds before another thread may decide on time
    int depthQuorum = 0;          ///< a depth is skipped if this many other threads have reached it
    int localDepthLimit = 0;
    int depth = 0;
    int score = noScore; ///< of the last finished iteration
    int alpha = -infiniteScore;
    int beta = infiniteScore;
    int failLows = 0;
    int failHighs = 0;
    int failHighStreak = 0; ///< fail highs since the last fail low
    double timeFactor = 1.0;
    bool keepGoing = true;
};

bool iterativeDeepening::isRootResolved()
{
    posinfo &root = position.info[0];
    if (root.inCheck != 0 && root.listEnd == root.listStart)
    {
        stopSearch = true;
        reporter.matedAtRoot();
        root.pvMove = noMove;
        position.rootScore = -scoreMate;
    }
    else if (isTbRoot(position))
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

bool iterativeDeepening::prepare()
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
    if (isBoss && isRootResolved())
        return false;

    localDepthLimit = root.listEnd - root.listStart == 1 ? singleMoveDepth : searchLimits.depthLimit;
    root.noNullMove = 0;
    position.info[1].noNullMove = 0;
    return true;
}

bool iterativeDeepening::isDepthSkipped() const
{
    if (isBoss || depth < firstReportDepth)
        return false;
    const auto hasReached = [this](const auto &other) { return other.get() != &self && other->currentDepth >= depth; };
    return std::ranges::count_if(workerPool, hasReached) >= depthQuorum;
}

void iterativeDeepening::startIteration()
{
    failLows = failHighs = failHighStreak = 0;
    position.selDepth = 0;
    position.rootChanges = 0;
    self.currentDepth = depth;
    if (depth > fullWindowMaxDepth)
    {
        alpha = wrappedBound(score - steps[0]);
        beta = wrappedBound(score + steps[0]);
    }
}

void iterativeDeepening::failLow(int result)
{
    ++failLows;
    failHighStreak = 0;
    beta = (alpha + beta) / 2;
    alpha = failLows <= wideningSteps ? wrappedBound(result - steps[failLows]) : -scoreMate;
}

void iterativeDeepening::failHigh(int result)
{
    ++failHighs;
    ++failHighStreak;
    beta = failHighs <= wideningSteps ? wrappedBound(result + steps[failHighs]) : scoreMate;
}

/// After a fail high: if the time is used up, the move is good enough.
void iterativeDeepening::stopIfOutOfTime() const
{
    if (!isBoss || searchLimits.infinite || pondering || localDepthLimit != 0)
        return;
    if (static_cast<double>(measureElapsed()) > searchLimits.optimalTime * timeFactor)
        stopSearch = true;
}

/// Aspiration windows: widens the window until the score is inside or the search is stopped.
void iterativeDeepening::searchIteration()
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

void iterativeDeepening::acceptResult(int result)
{
    score = result;
    position.rootScore = static_cast<std::int16_t>(result);
    if (isBoss && depth >= firstReportDepth)
        ttStore(position.key, position.info[0].pvMove, result, depth, boundExact, 0);
    position.rootDepthDone = 1;
    position.rootDepth = static_cast<std::int16_t>(depth);
}

/// Number of best move changes and repeated fails in the iteration.
int iterativeDeepening::instability() const
{
    const int fails = failLows > 1 || failHighs > 1 ? std::max(failLows, failHighs) - 1 : 0;
    return position.rootChanges + fails;
}

bool iterativeDeepening::isMateProved() const
{
    return (score >= mateThreshold && scoreMate - score <= depth) ||
           (score <= -mateThreshold && score + scoreMate <= depth);
}

void iterativeDeepening::reportIteration()
{
    walkPrincipalVariation(position, depth);
    if (!stopSearch && position.pvLast > 0)
    {
        theBoss().bestSoFar = position.info[0].pvMove;
        theBoss().ponderSoFar = position.info[1].pvMove;
    }
    reporter.iterationDone(position, score, depth, position.selDepth);
}

/// Decides whether to start another iteration.
void iterativeDeepening::decideOnLimits()
{
    if (localDepthLimit != 0)
    {
        if (depth >= localDepthLimit)
            keepGoing = false;
    }
    else
    {
        if (isSoftLimitPassed(searchLimits, searchLimits.elapsedMs, timeFactor))
            timeIsUp = true;
        keepGoing = pondering || !timeIsUp;
    }
    if (searchLimits.softNodes != 0 && nodesOf(position) >= searchLimits.softNodes)
        keepGoing = false;
    if (searchLimits.infinite)
        keepGoing = true;
}

void iterativeDeepening::run()
{
    while (!stopSearch && depth < maxPly && keepGoing)
    {
        ++depth;
        if (isDepthSkipped())
            continue;
        startIteration();
        searchIteration();
        const int changes = instability();
        const std::uint64_t elapsed = measureElapsed();

        if (isBoss)
        {
            if (depth >= firstReportDepth)
                reportIteration();
            if (isMateProved() && !stopSearch)
            {
                reporter.mateFound(position, score, depth);
                if (!searchLimits.infinite && !pondering)
                    break;
            }
        }

        bool isDeciding = isBoss;
        if (localDepthLimit == 0 && elapsed > timeGate && depth > deepestTimed)
        {
            deepestTimed = depth;
            isDeciding = true;
        }
        timeFactor = depth <= fullWindowMaxDepth ? 1.0 : nextTimeFactor(timeFactor, changes);
        if (isDeciding)
            decideOnLimits();
    }
    measureElapsed();
    if (!keepGoing)
        stopSearch = true;
}

} // namespace

bool searchRoot(worker &owner)
{
    iterativeDeepening search(owner);
    if (!search.prepare())
        return false;
    search.run();
    return true;
}

void walkPrincipalVariation(pos &position, int depth)
{
    position.pvLast = 0;
    int made = 0;
    moveCode move = position.info[0].pvMove;
    while (made < depth && isMoveValid(position, made, move) && leavesKingSafe(position, made, move))
    {
        position.info[made].pvMove = move;
        makeMove(position, made, move);
        position.pvLast = static_cast<std::uint8_t>(made);
        ++made;
        position.info[made].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
        const ttEntry entry = ttProbe(position.key);
        move = entry.bound() == boundExact ? entry.move() : noMove;
    }
    while (made > 0)
    {
        --made;
        unmakeMove(position, made, position.info[made].pvMove);
    }
}

} // namespace tarvonel
