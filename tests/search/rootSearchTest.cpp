// Whole searches of one thread: what they find, when they end, which move they play.
#include <cstdlib>
#include <string>
#include <tuple>
#include <utility>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "platform/clock.h"
#include "search/score.h"
#include "search/search.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

constexpr const char *stable = "8/5pk1/6p1/R6p/7P/5PP1/r5K1/8 w - - 0 1";

class rootSearch : public searchFixture
{
};

TEST_F(rootSearch, findsMates)
{
    const struct
    {
        int plies; ///< to the mate, negative to one against the side to move
        const char *fen, *best;
    } cases[] = {
        {1, "6k1/5ppp/8/8/8/8/8/R6K w - - 0 1", "a1a8"},
        {3, "kbK5/pp6/1P6/8/8/8/8/R7 w - - 0 1", "a1a6"},
        {5, "r1b1kb1r/pppp1ppp/5q2/4n3/3KP3/2N3PN/PPP4P/R1BQ1B1R b kq - 0 1", "f8c5"},
        {7, "8/8/8/5K2/8/8/1R6/7k w - - 0 1", "f5e4"},
        {9, "8/k7/8/8/8/1K6/8/3Q4 w - - 0 1", "d1d7"},
        {-12, "8/8/8/4K3/8/8/1R6/6k1 b - - 0 1", "g1f1"},
    };
    for (const auto &c : cases)
    {
        newGame();
        const searchRecord record = run(c.fen, {.depthLimit = 30});
        EXPECT_EQ(record.mates, 1) << c.fen;
        EXPECT_EQ(record.score, (c.plies > 0 ? scoreMate : -scoreMate) - c.plies) << c.fen;
        EXPECT_GE(theBoss().position.rootDepth, std::abs(c.plies)) << "or it is not proved";
        EXPECT_TRUE(record.lines.back().starts_with("bestmove " + std::string(c.best))) << record.lines.back();
    }
}

TEST_F(rootSearch, tableAndHistoriesLastForTheGame)
{
    deepestTimed = maxPly; // or the other threads would no longer decide on time
    const std::uint64_t fresh = run(middleGame, {.depthLimit = 9}).nodes;
    EXPECT_LT(deepestTimed, maxPly);
    EXPECT_LT(theBoss().position.rootChanges, 9) << "of the last iteration alone";
    for (void (*const clearHalf)() : {ttClear, clearWorkerHistory})
    {
        clearHalf();
        EXPECT_NE(run(middleGame, {.depthLimit = 9}).nodes, fresh) << "the other half outlives a search";
        newGame();
        EXPECT_EQ(run(middleGame, {.depthLimit = 9}).nodes, fresh);
    }
}

TEST_F(rootSearch, everySearchAgesTheTable)
{
    const std::uint64_t key = ownedPosition(middleGame)->key;
    for (int age = 0; age < 3; ++age)
    {
        run(middleGame, {.depthLimit = 3});
        EXPECT_EQ(ttProbe(key).age(), age + 1) << "the set-up counts as one";
    }
    runSearch(*ownedPosition(middleGame), {.depthLimit = 3});
    EXPECT_EQ(ttProbe(key).age(), 4);
}

// The reply follows the move played, also when the iteration that found the move was cut off.
TEST_F(rootSearch, ponderMoveAnswersTheBestMove)
{
    workbench root(startPositionFen);
    const moveCode found = root.move("e2e4"), earlier = root.move("d2d4");
    root.play(found);
    const moveCode reply = root.move("e7e5"), earlierReply = root.move("d7d5");
    const struct
    {
        const char *reason;
        int pvLast;
        moveCode bestSoFar, expected;
    } cases[] = {
        {"the reply of the variation", 1, earlier, reply},
        {"the last reported reply to the same move", 0, found, earlierReply},
        {"none: the last reported reply answers another move", 0, earlier, noMove},
    };
    for (const auto &c : cases)
    {
        root.node(0).pvMove = found;
        root.node(1).pvMove = reply;
        root->pvLast = static_cast<std::uint8_t>(c.pvLast);
        theBoss().bestSoFar = c.bestSoFar;
        theBoss().ponderSoFar = earlierReply;
        theBoss().answer(*root);
        EXPECT_TRUE(sameMove(theBoss().result.best, found)) << c.reason;
        EXPECT_TRUE(sameMove(theBoss().result.ponder, c.expected)) << c.reason;
    }
}

TEST_F(rootSearch, forcedMovesAndDrawsOfTheRoot)
{
    run("8/8/4k3/8/8/8/r7/7K w - - 0 1", {.depthLimit = 20});
    EXPECT_EQ(theBoss().currentDepth, 3) << "a forced move is not thought about";
    for (const char *drawn : {"7k/8/8/8/8/8/8/K6B w - - 0 1", "7k/6pp/8/8/8/8/8/R3K3 w - - 100 90"})
    {
        run(drawn, {.depthLimit = 4});
        EXPECT_EQ(theBoss().position.rootScore, scoreDraw) << drawn;
    }
}

// Another move in the root's exact entry comes from an older iteration, which the one cut off has
// bettered, or from a thread that is not the one chosen.
TEST_F(rootSearch, variationBeginsWithTheMoveFound)
{
    workbench root(startPositionFen), reply(startPositionFen);
    root.node().pvMove = root.move("d2d4");
    reply.play("d2d4");
    for (const bool isReplyKnown : {false, true})
    {
        ttStore(root->key, root.move("e2e4"), 0, 12, boundExact, 0);
        ttStore(reply->key, reply.move("d7d5"), 0, 11, isReplyKnown ? boundExact : boundLower, 1);
        walkPrincipalVariation(*root, 12);
        EXPECT_EQ(root.text(root.node(0).pvMove), "d2d4");
        EXPECT_EQ(root->pvLast, isReplyKnown ? 1 : 0);
    }
    EXPECT_TRUE(sameMove(root.node(1).pvMove, reply.move("d7d5")));
}

TEST_F(rootSearch, nodeLimitsEndASearch)
{
    ownedPosition root(middleGame);
    const auto afresh = [&](const searchLimitValues &limits)
    {
        newGame();
        return runSearch(*root, limits);
    };
    constexpr std::uint64_t slack = 3000; // between two checks; quiescence nodes count but do not check
    const searchResult whole = afresh({.depthLimit = 9});
    const searchResult soft = afresh({.softNodes = whole.nodes});
    EXPECT_EQ(std::tuple(soft.depth, soft.nodes, soft.score, soft.best),
              std::tuple(9, whole.nodes, whole.score, whole.best))
        << "the iteration that spends it is finished";
    const searchResult hard = afresh({.hardNodes = whole.nodes / 2});
    EXPECT_GE(hard.nodes, whole.nodes / 2);
    EXPECT_LT(hard.nodes, whole.nodes / 2 + slack);
    EXPECT_LT(hard.depth, 9);
    EXPECT_TRUE(isLegalIn(middleGame, hard.best));
}

// The clock has run so long before the search that only the time factor decides when it ends.
TEST_F(rootSearch, stableIterationsShortenTheTime)
{
    constexpr int elapsed = 1'000'000'000;
    const std::pair<double, int> cases[] = {{0.95, 6}, {0.85, 7}, {0.77, 8}};
    for (const auto &[factor, depth] : cases)
    {
        newGame();
        run(stable, {.startTimeMs = millisecondsNow() - elapsed,
                     .optimalTime = static_cast<int>(elapsed / factor),
                     .hardNodes = 1'000'000});
        EXPECT_EQ(theBoss().position.rootDepth, depth);
    }
}

// Generous bounds: the machine may be busy with other things.
TEST_F(rootSearch, timeLimitsAreKept)
{
    constexpr int patienceMs = 20000;
    const struct
    {
        const char *reason;
        searchLimitValues limits;
        int least;
    } cases[] = {
        {"the hard limit alone ends it", {.optimalTime = 100000, .maximumTime = 150}, 150},
        {"never below 0.6 of the soft limit", {.optimalTime = 60, .maximumTime = 10 * patienceMs}, 36},
        {"a depth limit ignores the soft limit, not the hard one",
         {.depthLimit = 100, .optimalTime = 1, .maximumTime = 50},
         50},
    };
    for (const auto &c : cases)
    {
        const std::int64_t begin = millisecondsNow();
        EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, c.limits).best));
        const std::int64_t taken = millisecondsNow() - begin;
        EXPECT_GE(taken, c.least) << c.reason;
        EXPECT_LT(taken, c.least + patienceMs) << c.reason;
    }
}

} // namespace
} // namespace tarvonel
