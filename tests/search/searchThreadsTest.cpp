// Several threads: pools of all sizes, stops at any moment, one answer to every search.
#include <algorithm>
#include <atomic>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "platform/clock.h"
#include "search/bestThread.h"
#include "search/searchReporter.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"

namespace tarvonel
{
namespace
{

constexpr const char *middleGame = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R1BQ1RK1 w - - 0 9";

class searchThreads : public searchFixture
{
};

TEST_F(searchThreads, poolsOfAllSizes)
{
    for (const int threads : {1, 2, 3, 4, 8, 32, isSanitized ? 48 : 256})
    {
        usePool(threads);
        ASSERT_EQ(workerPool.size(), static_cast<std::size_t>(threads));
        for (int i = 0; i < threads; ++i)
        {
            EXPECT_EQ(workerPool[i]->threadIndex, i);
            EXPECT_FALSE(workerPool[i]->isSearching());
        }
        EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, {.depth = 6}).best)) << threads;
        if (threads <= 8)
        {
            EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, {.optimalMs = 20, .maximumMs = 40}).best)) << threads;
        }
        for (const auto &each : workerPool)
            EXPECT_FALSE(each->isSearching()) << "all are idle before the answer";
    }
}

TEST_F(searchThreads, rebuildForgetsHistoriesAndKeepsTheTable)
{
    usePool(2);
    run(middleGame, {.depth = 8});
    const auto learnt = [](const worker &each)
    {
        const auto isSet = [](std::int16_t value) { return value != 0; };
        return std::ranges::any_of(each.contHistoryOneBack,
                                   [&](const auto &row) { return std::ranges::any_of(row, isSet); });
    };
    EXPECT_TRUE(learnt(theBoss()));
    const std::uint64_t rootKey = theBoss().position.key;
    EXPECT_TRUE(ttProbe(rootKey).isHit());
    usePool(2);
    EXPECT_FALSE(learnt(theBoss()));
    EXPECT_FALSE(learnt(*workerPool[1]));
    EXPECT_TRUE(ttProbe(rootKey).isHit());

    run(middleGame, {.depth = 8});
    clearWorkerHistory();
    EXPECT_FALSE(learnt(theBoss()));
    EXPECT_FALSE(learnt(*workerPool[1]));
}

TEST_F(searchThreads, rebuildWaitsForTheRunningSearch)
{
    usePool(3);
    start(middleGame, {.infinite = true});
    std::thread controller(
        []
        {
            sleepMilliseconds(30);
            stop();
        });
    usePool(2);
    controller.join();
    EXPECT_EQ(answerCount(), 1);
    run(middleGame, {.depth = 5});
    EXPECT_EQ(rebuildWorkerPool(0), 0);
    EXPECT_FALSE(isSearchRunning());
}

TEST_F(searchThreads, stoppedPonderedAndRestarted)
{
    usePool(4);
    const auto searchFor = [](const searchPlan &plan, int ms)
    {
        start(middleGame, plan);
        sleepMilliseconds(ms);
    };
    for (int round = 0; round < 3; ++round)
    {
        searchFor({.infinite = true}, 40);
        EXPECT_EQ(answerCount(), 0);
        stop();
        EXPECT_TRUE(isLegalIn(middleGame, finish().best));

        searchFor({.optimalMs = 30, .maximumMs = 60, .ponder = true}, 60);
        EXPECT_EQ(answerCount(), 0);
        ponderHit();
        EXPECT_TRUE(isLegalIn(middleGame, finish().best));

        searchFor({.ponder = true}, 20);
        stop();
        EXPECT_TRUE(isLegalIn(middleGame, finish().best));

        EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, {.optimalMs = 30, .maximumMs = 60}).best));
        newGame();
        run(startPositionFen, {.depth = isSanitized ? 7 : 10});
    }
}

TEST_F(searchThreads, oneAnswerToEverySearchWhereverItIsStopped)
{
    usePool(2);
    std::mt19937 random(17);
    const std::vector<std::string> fens = {middleGame,
                                           startPositionFen,
                                           "6k1/5ppp/8/8/8/8/8/R6K w - - 0 1",
                                           "8/8/4k3/8/8/8/r7/7K w - - 0 1",
                                           "7k/5Q2/8/8/8/8/8/4K3 b - - 0 1",
                                           "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 0 1"};
    for (int cycle = 0; cycle < 300; ++cycle)
    {
        const std::string &fen = fens[random() % fens.size()];
        const int kind = static_cast<int>(random() % 4);
        start(fen,
              {.depth = kind == 2 ? 7 : 0, .maximumMs = kind == 3 ? 2 : 0, .infinite = kind == 0, .ponder = kind == 1});
        if (random() % 3 != 0)
            std::this_thread::sleep_for(std::chrono::microseconds(random() % 4000));
        if (kind == 1 && random() % 2 == 0)
            ponderHit();
        stop();
        waitForSearch();
        ASSERT_EQ(answerCount(), 1) << cycle;
        ASSERT_FALSE(isSearchRunning());
    }
}

TEST_F(searchThreads, everyThreadSearchesAndOnlyTheBossAnswersForAll)
{
    usePool(4);
    start(middleGame, {.infinite = true});
    const std::int64_t begin = millisecondsNow();
    const auto isAtWork = [](const auto &each) { return each->position.searchNodes != 0; };
    while (!std::ranges::all_of(workerPool, isAtWork) && millisecondsNow() - begin < 20000)
        sleepMilliseconds(1);
    EXPECT_TRUE(std::ranges::all_of(workerPool, isAtWork));
    stop();
    const searchRecord &record = finish();
    std::uint64_t sum = 0;
    for (const auto &each : workerPool)
        sum += each->position.searchNodes + each->position.quiescenceNodes;
    EXPECT_EQ(record.nodes, sum);
    EXPECT_EQ(run("rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 0 1", {}).matedRoots, 1);
}

TEST_F(searchThreads, figuresSurviveAClockThatReadsZeroAgain)
{
    // The last search's time still stands there when a thread of the new one writes its first, 0.
    std::atomic<bool> isDone = false;
    std::thread clockReader(
        [&isDone]
        {
            for (int time = 0; !isDone; time ^= 7)
                searchLimits.elapsedMs = static_cast<std::uint64_t>(time);
        });
    const std::int64_t end = millisecondsNow() + 300;
    while (millisecondsNow() < end)
        for (int i = 0; i < 1000; ++i)
            EXPECT_GT(sumUpSearch().elapsedMs, 0U);
    isDone = true;
    clockReader.join();
}

TEST_F(searchThreads, bestThreadByRankScoreAndMate)
{
    const struct
    {
        const char *reason;
        struct
        {
            int depth, isDone, score;
        } results[4];
        int best;
    } cases[] = {
        {"all alike: the boss", {{10, 1, 5}, {10, 1, 5}, {10, 1, 5}, {10, 1, 5}}, 0},
        {"the better score of one rank", {{10, 1, 5}, {10, 1, 9}, {10, 1, 7}, {9, 1, 99}}, 1},
        {"the deeper one, whatever its score", {{10, 1, 5}, {11, 1, -90}, {10, 1, 7}, {9, 1, 99}}, 1},
        {"a finished iteration is more than a begun one", {{11, 0, 50}, {11, 1, -90}, {11, 0, 7}, {9, 1, 99}}, 1},
        {"a begun iteration is more than a finished one before it",
         {{10, 1, 50}, {11, 0, -9}, {10, 1, 60}, {9, 1, 9}},
         1},
        {"a winning mate overrules depth", {{20, 1, 50}, {12, 1, 31990}, {21, 1, 60}, {9, 1, 9}}, 2},
        {"the shorter of two mates", {{20, 1, 31900}, {12, 1, 31990}, {9, 1, 31980}, {12, 0, 31995}}, 3},
        {"at equal rank a mate against loses", {{12, 1, -31990}, {12, 1, -40}, {12, 1, -31980}, {11, 1, 0}}, 1},
        {"tablebase scores are no mates", {{12, 1, 10}, {11, 1, 31871}, {10, 1, 0}, {11, 1, 0}}, 0},
    };
    usePool(4);
    for (const auto &c : cases)
    {
        for (int i = 0; i < 4; ++i)
        {
            pos &position = workerPool[i]->position;
            position.rootDepth = static_cast<std::int16_t>(c.results[i].depth);
            position.rootDepthDone = static_cast<std::uint8_t>(c.results[i].isDone);
            position.rootScore = static_cast<std::int16_t>(c.results[i].score);
        }
        searchLimits.depthLimit = 0;
        EXPECT_EQ(chooseBestThread().threadIndex, c.best) << c.reason;
        searchLimits.depthLimit = 5;
        EXPECT_EQ(chooseBestThread().threadIndex, 0) << "with a depth limit the boss answers";
        searchLimits.depthLimit = 0;
        engineOptions.threadCount = 1;
        EXPECT_EQ(chooseBestThread().threadIndex, 0) << "alone the boss answers";
        engineOptions.threadCount = 4;
    }
}

} // namespace
} // namespace tarvonel
