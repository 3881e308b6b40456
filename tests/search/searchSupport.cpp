#include "search/searchSupport.h"

#include <algorithm>
#include <atomic>
#include <utility>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/makeMove.h"
#include "board/moveText.h"
#include "movegen/moveChecks.h"
#include "platform/clock.h"
#include "search/score.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "support/randomGames.h"
#include "support/syntheticNetwork.h"

namespace tarvonel
{

namespace
{

constexpr int noTimeLimit = 1'000'000'000;

searchRecord record;          // written by the boss, read when it is idle
std::atomic<int> answerTally; // of the present search

std::string variationText(const pos &position)
{
    std::string text;
    colour side = position.sideToMove == white ? white : black;
    for (int ply = 0; ply <= position.pvLast; ++ply, side = opponent(side))
        text += " " + moveText(position.info[ply].pvMove, side, position);
    return text;
}

void recordLine(const pos &position, const std::string &head, int score, int depth, const std::string &selDepth)
{
    const searchTotals totals = sumUpSearch();
    record.lines.push_back(head + " depth " + std::to_string(depth) + selDepth + " nodes " +
                           std::to_string(totals.nodes) + " tbhits " + std::to_string(totals.tablebaseHits) + " pv" +
                           variationText(position));
    record.score = score;
    record.lastDepth = depth;
}

void recordIteration(const pos &position, int score, int depth, int selDepth)
{
    recordLine(position, "info score cp " + std::to_string(score), score, depth,
               " seldepth " + std::to_string(selDepth));
}

void recordMate(const pos &position, int score, int depth)
{
    const int moves = (scoreMate - std::abs(score)) / 2 + 1;
    recordLine(position, "info score mate " + std::to_string(score > 0 ? moves : -moves), score, depth, "");
    ++record.mates;
}

void recordAnswer(moveCode best, moveCode ponder, colour side, const pos &rooks)
{
    std::string line = "bestmove " + moveText(best, side, rooks);
    if (ponder != noMove)
        line += " ponder " + moveText(ponder, opponent(side), rooks);
    record.lines.push_back(line);
    record.best = best;
    record.ponder = ponder;
    record.nodes = sumUpSearch().nodes;
    ++record.answers;
    ++answerTally;
}

const searchReporter recorder{.iterationDone = recordIteration,
                              .mateFound = recordMate,
                              .matedAtRoot = [] { ++record.matedRoots; },
                              .tableMove =
                                  [](const pos &, int score, moveCode)
                              {
                                  record.score = score;
                                  ++record.tableMoves;
                              },
                              .answer = recordAnswer,
                              .isBudgetSpent = nullptr};

} // namespace

void prepareSearchTest()
{
    static bool isNetworkMade = false;
    if (!std::exchange(isNetworkMade, true))
        useSyntheticNetwork();
    engineOptions.threadCount = 1;
    ttResize(1);
    ttAdvanceAge();
    stopSearch = false;
    pondering = false;
    searchLimits.infinite = true;
    searchLimits.pollInterval = defaultPollInterval;
}

workbench::workbench(const std::string &fen)
{
    ownedPosition root(fen);
    owner->adopt(*root);
    node().inCheck = isKingAttacked(owner->position, owner->position.sideToMove) ? 1 : 0;
    owner->position.pollCountdown = defaultPollInterval;
}

std::vector<moveCode> workbench::legalMoves()
{
    buildLegalList(ply, node().listStart, owner->position);
    return {node().listStart, node().listEnd};
}

moveCode workbench::move(const std::string &wanted)
{
    for (const moveCode each : legalMoves())
        if (text(each) == wanted)
            return withExtra(each, owner->position.board[moveFrom(each)]);
    ADD_FAILURE() << "no move " << wanted;
    return noMove;
}

void workbench::play(moveCode move)
{
    pos &position = owner->position;
    node().playedMove = withExtra(move, position.board[moveFrom(move)]);
    node(ply + 1).listStart = node().listStart;
    makeMove(position, ply, move);
    ++ply;
    node().inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
}

void workbench::pass()
{
    makeNullMove(owner->position, ply);
    ++ply;
}

std::string workbench::text(moveCode move) const
{
    const pos &position = owner->position;
    return moveText(move, position.sideToMove == white ? white : black, position);
}

void searchFixture::SetUp()
{
    prepareSearchTest();
    reporter = recorder;
    usePool(1);
}

void searchFixture::TearDown()
{
    stopSearch = true;
    rebuildWorkerPool(0);
    reporter = {};
    engineOptions.threadCount = 1;
    pondering = false;
    searchLimits.depthLimit = 0;
}

void searchFixture::usePool(int threads)
{
    engineOptions.threadCount = threads;
    ASSERT_EQ(rebuildWorkerPool(threads), threads);
}

void searchFixture::start(const std::string &fen, const searchPlan &plan) { start(*ownedPosition(fen), plan); }

void searchFixture::start(const pos &root, const searchPlan &plan)
{
    waitForSearch();
    record = {};
    answerTally = 0;
    searchLimits.startTimeMs = millisecondsNow();
    searchLimits.elapsedMs = 0;
    searchLimits.timeScale = 1.0F;
    searchLimits.depthLimit = plan.depth;
    searchLimits.optimalTime = plan.optimalMs != 0 ? plan.optimalMs : noTimeLimit;
    searchLimits.maximumTime = plan.maximumMs != 0 ? plan.maximumMs : noTimeLimit;
    searchLimits.pollInterval = defaultPollInterval;
    searchLimits.infinite = plan.infinite;
    pondering = plan.ponder;
    startSearch(root);
}

const searchRecord &searchFixture::finish()
{
    waitForSearch();
    EXPECT_EQ(record.answers, 1);
    return record;
}

const searchRecord &searchFixture::run(const std::string &fen, const searchPlan &plan)
{
    return run(*ownedPosition(fen), plan);
}

const searchRecord &searchFixture::run(const pos &root, const searchPlan &plan)
{
    start(root, plan);
    return finish();
}

void searchFixture::ponderHit()
{
    if (timeIsUp)
        stopSearch = true;
    else
        pondering = false;
}

void searchFixture::newGame()
{
    ttClear();
    clearWorkerHistory();
}

int searchFixture::answerCount() { return answerTally; }

bool isLegalIn(const std::string &fen, moveCode move)
{
    workbench bench(fen);
    return std::ranges::any_of(bench.legalMoves(), [move](moveCode each) { return sameMove(each, move); });
}

} // namespace tarvonel
