#include "search/searchSupport.h"

#include <algorithm>
#include <atomic>
#include <regex>
#include <utility>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/makeMove.h"
#include "board/moveCode.h"
#include "movegen/legality.h"
#include "platform/clock.h"
#include "search/searchReporter.h"
#include "search/transpositionTable.h"
#include "support/randomGames.h"
#include "support/syntheticNetwork.h"
#include "uci/console.h"

namespace tarvonel
{

namespace
{

searchRecord record;          // written by the boss, read when it is idle
std::atomic<int> answerTally; // of the present search

/// Keeps a line of a report without its time and speed.
void keepLine(const std::string &line)
{
    static const std::regex ofTheClock(" nps [0-9]+ time [0-9]+| $");
    record.lines.push_back(std::regex_replace(line, ofTheClock, ""));
}

const searchReporter recorder{.iterationDone =
                                  [](const pos &position, int score, int depth, int selDepth)
                              {
                                  keepLine(iterationText(position, score, depth, selDepth));
                                  record.score = score;
                              },
                              .mateFound =
                                  [](const pos &position, int score, int depth)
                              {
                                  keepLine(mateText(position, score, depth));
                                  record.score = score;
                                  ++record.mates;
                              },
                              .rootTbMove =
                                  [](const pos &, int score, moveCode)
                              {
                                  record.score = score;
                                  ++record.tableMoves;
                              },
                              .answer =
                                  [](moveCode best, moveCode ponder, colour side, const pos &rooks)
                              {
                                  keepLine(answerText(best, ponder, side, rooks));
                                  record.best = best;
                                  record.ponder = ponder;
                                  record.nodes = sumUpSearch().nodes;
                                  ++answerTally;
                              }};

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
    searchLimits = {.infinite = true};
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
}

void searchFixture::usePool(int threads)
{
    engineOptions.threadCount = threads;
    ASSERT_EQ(rebuildWorkerPool(threads), threads);
}

void searchFixture::start(const std::string &fen, const searchLimitValues &limits, bool ponders)
{
    start(*ownedPosition(fen), limits, ponders);
}

void searchFixture::start(const pos &root, const searchLimitValues &limits, bool ponders)
{
    waitForSearch();
    record = {};
    answerTally = 0;
    searchLimits = limits;
    if (limits.startTimeMs == 0)
        searchLimits.startTimeMs = millisecondsNow();
    pondering = ponders;
    startSearch(root);
}

const searchRecord &searchFixture::finish()
{
    waitForSearch();
    EXPECT_EQ(answerTally, 1);
    return record;
}

const searchRecord &searchFixture::run(const std::string &fen, const searchLimitValues &limits)
{
    return run(*ownedPosition(fen), limits);
}

const searchRecord &searchFixture::run(const pos &root, const searchLimitValues &limits)
{
    start(root, limits);
    return finish();
}

void searchFixture::newGame()
{
    ttClear();
    clearWorkerHistory();
}

bool isLegalIn(const std::string &fen, moveCode move, moveCode reply)
{
    workbench bench(fen);
    for (const moveCode wanted : {move, reply})
    {
        if (bench.ply > 0 && wanted == noMove)
            break;
        const std::vector<moveCode> legal = bench.legalMoves();
        const auto found = std::ranges::find_if(legal, [&](moveCode each) { return sameMove(each, wanted); });
        if (found == legal.end())
            return false;
        bench.play(*found);
    }
    return true;
}

} // namespace tarvonel
