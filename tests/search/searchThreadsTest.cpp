// Several threads: pools of all sizes, stops at any moment, one answer to every search.
#include <iterator>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "search/searchReporter.h"
#include "search/searchSupport.h"
#include "search/worker.h"
#include "support/fuzzSeeds.h"
#include "uci/benchPositions.h"

namespace tarvonel
{
namespace
{

constexpr const char *mated = "rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 0 1";
constexpr const char *stalemate = "7k/5Q2/8/8/8/8/8/4K3 b - - 0 1";

class searchThreads : public searchFixture
{
  protected:
    /// Searches of all kinds, stopped after up to `longest` microseconds, if they still run then.
    static void stopAnywhere(unsigned seed, int cycles, unsigned longest)
    {
        std::mt19937 random(seed);
        const std::string soonSettled[] = {"6k1/5ppp/8/8/8/8/8/R6K w - - 0 1", "8/8/4k3/8/8/8/r7/7K w - - 0 1",
                                           stalemate, mated};
        for (int cycle = 0; cycle < cycles; ++cycle)
        {
            const benchPosition &busy = benchPositions[random() % std::size(benchPositions)];
            const std::string fen =
                busy.chess960 || random() % 4 == 0 ? soonSettled[random() % std::size(soonSettled)] : busy.fen;
            const auto kind = random() % 4;
            start(fen,
                  {.depthLimit = kind == 2 ? 7 : 0,
                   .maximumTime = kind == 3 ? static_cast<int>(longest / 2000) : unlimitedTime,
                   .infinite = kind == 0},
                  kind == 1);
            if (random() % 3 != 0)
                std::this_thread::sleep_for(std::chrono::microseconds(random() % longest));
            if (kind == 1 && random() % 2 == 0)
                pondering = false;
            stop();
            const searchRecord &record = finish();
            if (fen == stalemate || fen == mated)
                EXPECT_EQ(record.best, noMove) << fen;
            else
                EXPECT_TRUE(isLegalIn(fen, record.best, record.ponder)) << fen << ' ' << record.lines.back();
            ASSERT_FALSE(isSearchRunning());
        }
    }
};

class slowSearchThreads : public searchThreads
{
};

TEST_F(searchThreads, poolsOfAllSizes)
{
    for (const int threads : {1, 3, 48})
    {
        usePool(threads);
        ASSERT_EQ(workerPool.size(), static_cast<std::size_t>(threads));
        EXPECT_TRUE(isLegalIn(middleGame, run(middleGame, {.depthLimit = 6}).best)) << threads;
        for (const auto &each : workerPool)
        {
            EXPECT_FALSE(each->isSearching()) << "all are idle before the answer";
            EXPECT_EQ(each->position.threadIndex, each->threadIndex);
        }
    }
}

TEST_F(searchThreads, nothingOfAnEarlierGameOrNetworkIsLeftInAnyThread)
{
    usePool(3);
    for (const auto &each : workerPool)
    {
        each->tables.contHistoryOneBack[1][2] = each->tables.contHistoryTwoBack[3][4] = 5;
        each->tables.evalCache[6].key = each->tables.pawnTable[7].pawnKey = 8;
    }
    clearWorkerHistory();
    clearEvaluationCaches();
    for (const auto &each : workerPool)
    {
        EXPECT_EQ(each->tables.contHistoryOneBack[1][2] | each->tables.contHistoryTwoBack[3][4], 0);
        EXPECT_EQ(each->tables.evalCache[6].key | each->tables.pawnTable[7].pawnKey, 0U) << each->threadIndex;
    }
}

// Another thread's variation is known only after the boss has walked it.
TEST_F(searchThreads, theVariationIsThatOfTheChosenThread)
{
    usePool(2);
    bool isWalked = false;
    for (int search = 0; search < 300 && !isWalked; ++search)
    {
        newGame();
        const searchRecord record = run(middleGame, {.maximumTime = 5 + search});
        const pos &found = chooseBestThread().position;
        EXPECT_TRUE(sameMove(record.best, found.info[0].pvMove) || found.info[0].pvMove == noMove);
        isWalked = &found != &theBoss().position && found.pvLast > 0;
    }
    EXPECT_TRUE(isWalked);
}

TEST_F(searchThreads, oneAnswerToEverySearchStoppedAtAnyTime)
{
    usePool(3);
    stopAnywhere(17, 300, 4000);
}

TEST_F(slowSearchThreads, oneAnswerToEverySearchStoppedAtAnyTime)
{
    usePool(4);
    forEachFuzzSeed(2, [](unsigned seed) { stopAnywhere(seed, 100, 200'000); });
}

// The others search until they see that the boss has stopped, and reach any depth immediately.
TEST_F(searchThreads, helperThreadsDoNotOverrideAMatedRoot)
{
    usePool(4);
    for (int i = 0; i < 40; ++i)
        EXPECT_EQ(run(mated, {.infinite = i % 2 == 0}).lines, std::vector<std::string>{"bestmove a1a1"});
}

// The second thread skips the depths of the boss and is often the first to reach the limit.
TEST_F(searchThreads, bossFinishesTheDepthAskedFor)
{
    usePool(2);
    constexpr int depth = isSanitized ? 9 : 12;
    for (int i = 0; i < 8; ++i)
    {
        newGame();
        run(middleGame, {.depthLimit = depth, .optimalTime = 1});
        EXPECT_EQ(theBoss().position.rootDepth, depth);
        EXPECT_EQ(theBoss().position.rootDepthDone, 1);
    }
}

TEST_F(searchThreads, everyThreadSearches)
{
    usePool(4);
    start(middleGame, {.infinite = true});
    const std::int64_t begin = millisecondsNow();
    for (const auto &each : workerPool)
    {
        while (each->position.searchNodes == 0 && millisecondsNow() - begin < 20000)
            sleepMilliseconds(1);
        EXPECT_GT(each->position.searchNodes, 0U) << each->threadIndex;
    }
    stop();
    finish();
}

// A new search resets the time of the last one to 0.
TEST_F(searchThreads, totalsSurviveAClockResetToZero)
{
    const std::jthread clockReader(
        [](const std::stop_token &end)
        {
            for (std::uint64_t time = 0; !end.stop_requested(); time ^= 7)
                searchLimits.elapsedMs = time;
        });
    for (int i = 0; i < 1'000'000; ++i)
        ASSERT_GT(sumUpSearch().elapsedMs, 0U);
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
        {"the better score of one rank", {{10, 1, 5}, {10, 1, 9}, {10, 1, 7}, {9, 1, 99}}, 1},
        {"the deeper one, whatever its score", {{10, 1, 5}, {11, 1, -90}, {10, 1, 7}, {9, 1, 99}}, 1},
        {"a finished iteration is more than a begun one", {{11, 0, 50}, {11, 1, -90}, {11, 0, 7}, {9, 1, 99}}, 1},
        {"a begun iteration is more than the one before it", {{10, 1, 50}, {11, 0, -9}, {10, 1, 60}, {9, 1, 9}}, 1},
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
    }
}

} // namespace
} // namespace tarvonel
