// Whole searches of one thread: what they find, when they end, what they tell.
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/moveText.h"
#include "board/setup.h"
#include "movegen/moveChecks.h"
#include "platform/clock.h"
#include "search/score.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

constexpr const char *middleGame = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R1BQ1RK1 w - - 0 9";
constexpr const char *matedFen = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 0 1";
constexpr const char *stalemateFen = "7k/5Q2/8/8/8/8/8/4K3 b - - 0 1";
constexpr const char *mateInOneFen = "6k1/5ppp/8/8/8/8/8/R6K w - - 0 1";
constexpr const char *oneMoveFen = "8/8/4k3/8/8/8/r7/7K w - - 0 1";

class rootSearch : public searchFixture
{
};

TEST_F(rootSearch, findsMatesInOneToFive)
{
    const struct
    {
        int moves;
        const char *fen, *best;
    } cases[] = {
        {1, mateInOneFen, "a1a8"},
        {1, "r1bqkb1r/pppp1ppp/2n2n2/4p2Q/2B1P3/8/PPPP1PPP/RNB1K1NR w KQkq - 0 1", "h5f7"},
        {2, "kbK5/pp6/1P6/8/8/8/8/R7 w - - 0 1", "a1a6"},
        {3, "r1b1kb1r/pppp1ppp/5q2/4n3/3KP3/2N3PN/PPP4P/R1BQ1B1R b kq - 0 1", "f8c5"},
        {3, "r5rk/5p1p/5R2/4B3/8/8/7P/7K w - - 0 1", "f6a6"},
        {4, "6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1", "c4d5"},
        {4, "8/8/8/5K2/8/8/1R6/7k w - - 0 1", "f5e4"},
        {5, "8/k7/8/8/8/1K6/8/3Q4 w - - 0 1", "d1d7"},
        {5, "7k/8/8/8/6K1/8/8/5R2 w - - 0 1", "g4g5"},
    };
    for (const auto &c : cases)
    {
        newGame();
        const searchRecord &record = run(c.fen, {.depth = 30});
        EXPECT_EQ(record.mates, 1) << c.fen;
        EXPECT_EQ(record.score, scoreMate - (2 * c.moves - 1)) << c.fen;
        EXPECT_GE(record.lastDepth, 2 * c.moves - 1) << c.fen;
        EXPECT_TRUE(record.lines.back().starts_with("bestmove " + std::string(c.best))) << record.lines.back();
    }
}

TEST_F(rootSearch, signatureIsTheSameInEveryRun)
{
    const std::vector<std::string> fens = {startPositionFen, middleGame, "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1",
                                           "4rrk1/pp1n3p/3q2pQ/2p1pb2/2PP4/2P3N1/P2B2PP/4RRK1 b - - 7 19"};
    constexpr int depth = isSanitized ? 7 : 10;
    std::vector<std::string> first;
    for (int round = 0; round < 3; ++round)
    {
        if (round == 2)
            usePool(1); // new tables altogether
        std::vector<std::string> lines;
        for (const std::string &fen : fens)
        {
            newGame();
            const searchRecord &record = run(fen, {.depth = depth});
            lines.insert(lines.end(), record.lines.begin(), record.lines.end());
            lines.push_back(std::to_string(record.nodes));
        }
        if (round == 0)
            first = lines;
        EXPECT_EQ(lines, first) << round;
    }
}

TEST_F(rootSearch, whatLastsBetweenSearchesShowsInTheNodes)
{
    const std::uint64_t fresh = run(middleGame, {.depth = 9}).nodes;
    const std::uint64_t repeated = run(middleGame, {.depth = 9}).nodes;
    EXPECT_NE(repeated, fresh) << "the table still holds the first search";
    ttClear();
    const std::uint64_t withHistory = run(middleGame, {.depth = 9}).nodes;
    EXPECT_NE(withHistory, fresh) << "continuation histories survive";
    newGame();
    EXPECT_EQ(run(middleGame, {.depth = 9}).nodes, fresh);
}

TEST_F(rootSearch, reportsFromDepthTenAndLegalVariations)
{
    EXPECT_EQ(run(middleGame, {.depth = 9}).lines.size(), 1U);
    for (const char *fen : {middleGame, "8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1"})
    {
        const searchRecord &record = run(fen, {.depth = 11});
        ASSERT_EQ(record.lines.size(), 3U);
        EXPECT_NE(record.lines[0].find(" depth 10 "), std::string::npos);
        EXPECT_NE(record.lines[1].find(" depth 11 "), std::string::npos);
        const pos &searched = theBoss().position;
        ASSERT_GT(searched.pvLast, 0) << fen;
        workbench bench(fen);
        for (int i = 0; i <= searched.pvLast; ++i)
            bench.play(bench.text(searched.info[i].pvMove));
        workbench answer(fen);
        answer.play(answer.text(record.best));
        answer.play(answer.text(record.ponder));
    }
}

TEST_F(rootSearch, endsOfTheGameAtTheRoot)
{
    const searchRecord mated = run(matedFen, {});
    EXPECT_EQ(mated.matedRoots, 1);
    EXPECT_EQ(mated.lines, (std::vector<std::string>{"bestmove a1a1"}));

    const searchRecord stalemate = run(stalemateFen, {.depth = 12});
    EXPECT_EQ(stalemate.matedRoots, 0);
    EXPECT_EQ(stalemate.lines.back(), "bestmove a1a1");

    const std::uint64_t nodes = run(oneMoveFen, {.depth = 20}).nodes;
    EXPECT_EQ(theBoss().currentDepth, 3) << "a forced move is not thought about";
    EXPECT_LT(nodes, 2000U);

    for (const char *drawn : {"7k/8/8/8/8/8/8/K6B w - - 0 1", "7k/6pp/8/8/8/8/8/R3K3 w - - 100 90"})
    {
        run(drawn, {.depth = 4});
        EXPECT_EQ(theBoss().position.rootScore, scoreDraw) << drawn;
    }
}

TEST_F(rootSearch, movesOfALongGameLeaveRoomForTheSearch)
{
    ownedPosition root(startPositionFen);
    constexpr const char *circle[] = {"g1f3", "g8f6", "f3g1", "f6g8"};
    for (int i = 0; i < 1200; ++i)
        playGameMove(*root, parseMoveText(circle[i % 4], *root));
    const searchRecord &record = run(*root, {.depth = 8});
    EXPECT_TRUE(isLegalIn(startPositionFen, record.best));
}

TEST_F(rootSearch, answersWithALegalMoveHoweverEarlyItIsStopped)
{
    for (int i = 0; i < 40; ++i)
    {
        start(middleGame, {.infinite = true});
        stop();
        EXPECT_TRUE(isLegalIn(middleGame, finish().best));
    }
    for (const int maximum : {-1, 1, 2, 5})
        EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, {.optimalMs = maximum, .maximumMs = maximum}).best));
}

// Generous bounds: the machine may be busy with other things.
constexpr int patienceMs = 20000;

TEST_F(rootSearch, timeLimitsAreKept)
{
    const struct
    {
        const char *reason;
        searchPlan plan;
        int least;
    } cases[] = {
        {"the hard limit alone ends it", {.optimalMs = 100000, .maximumMs = 150}, 150},
        {"never below 0.6 of the soft limit", {.optimalMs = 60, .maximumMs = 10 * patienceMs}, 36},
        {"a depth limit ignores the soft limit, not the hard one", {.depth = 100, .optimalMs = 1, .maximumMs = 50}, 50},
    };
    for (const auto &c : cases)
    {
        const std::int64_t begin = millisecondsNow();
        EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, c.plan).best));
        const std::int64_t taken = millisecondsNow() - begin;
        EXPECT_GE(taken, c.least) << c.reason;
        EXPECT_LT(taken, c.least + patienceMs) << c.reason;
    }
}

TEST_F(rootSearch, ponderSearchAnswersOnlyWhenToldTo)
{
    start(middleGame, {.optimalMs = 1, .maximumMs = 1, .ponder = true});
    const std::int64_t begin = millisecondsNow();
    while (!timeIsUp && millisecondsNow() - begin < patienceMs)
        sleepMilliseconds(1);
    EXPECT_TRUE(timeIsUp) << "the decision falls while pondering";
    sleepMilliseconds(30);
    EXPECT_EQ(answerCount(), 0);
    EXPECT_TRUE(isSearchRunning());
    ponderHit();
    EXPECT_TRUE(stopSearch);
    EXPECT_TRUE(isLegalIn(middleGame, finish().best));

    start(middleGame, {.optimalMs = 100000, .maximumMs = 120, .ponder = true});
    sleepMilliseconds(150);
    EXPECT_EQ(answerCount(), 0) << "the hard limit does not count yet";
    ponderHit();
    finish();

    start(middleGame, {.depth = 5, .ponder = true});
    sleepMilliseconds(30);
    stop();
    finish();
}

TEST_F(rootSearch, infiniteSearchOfADecidedRootWaitsForStop)
{
    for (const char *fen : {stalemateFen, oneMoveFen, mateInOneFen})
    {
        start(fen, {.depth = fen == mateInOneFen ? 0 : 2, .infinite = true});
        sleepMilliseconds(60);
        EXPECT_EQ(answerCount(), 0) << fen;
        stop();
        const int mates = finish().mates;
        EXPECT_TRUE(fen != mateInOneFen || mates > 1) << "told again with every iteration";
    }
}

} // namespace
} // namespace tarvonel
