#include "search/search.h"

#include <utility>

#include <gtest/gtest.h>

#include "search/history.h"
#include "search/movePicker.h"
#include "search/score.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"

namespace tarvonel
{
namespace
{

class alphaBetaNode : public testing::Test
{
  protected:
    void SetUp() override { prepareSearchTest(); }
    void TearDown() override { stopSearch = false; }

    int searched(workbench &bench, int depth, int alpha = -infiniteScore, int beta = infiniteScore)
    {
        const std::uint64_t before = bench->searchNodes;
        const int score = alphaBeta(bench.ply, depth, alpha, beta, *bench);
        nodes = bench->searchNodes - before;
        return score;
    }
    static workbench quietBench()
    {
        workbench bench("r4rk1/pp3ppp/2n2n2/3p4/3P4/2N2N2/PP3PPP/R4RK1 w - - 3 15");
        bench.play("h2h3");
        return bench;
    }
    std::uint64_t nodes = 0;
};

TEST_F(alphaBetaNode, aMoveFoundAtTheRootCountsBeforeTheIterationEnds)
{
    workbench root("r4rk1/pp3ppp/2n2n2/3p4/3P4/2N2N2/PP3PPP/R4RK1 w - - 3 15");
    root->rootDepth = 2;
    root->rootDepthDone = 1;
    searched(root, 3);
    EXPECT_EQ(root->rootDepth, 3);
    EXPECT_EQ(root->rootDepthDone, 0);
    EXPECT_GT(root->rootChanges, 0);
}

TEST_F(alphaBetaNode, matesAndDraws)
{
    const struct
    {
        const char *reason, *fen, *move;
        int expected;
    } cases[] = {
        {"stalemate", "7k/8/8/8/8/8/5Q2/4K3 w - - 0 1", "f2f7", scoreDraw},
        {"mate", "7k/6pp/8/8/8/8/8/R3K3 w - - 0 1", "a1a8", 1 - scoreMate},
        {"mate by the move that completes fifty", "7k/6pp/8/8/8/8/8/R3K3 w - - 99 90", "a1a8", 1 - scoreMate},
        {"fifty moves", "7k/6pp/8/8/8/8/8/R3K3 w - - 99 90", "a1b1", scoreDraw},
        {"too little material", "7k/8/8/8/8/8/3p4/3NK3 w - - 0 1", "e1d2", scoreDraw},
    };
    workbench before("7k/6pp/8/8/8/8/8/R3K3 w - - 98 90");
    before.play("a1b1");
    EXPECT_LT(searched(before, 1), -100) << "a move before the fiftieth";
    for (const auto &c : cases)
    {
        ttClear();
        workbench bench(c.fen);
        bench.play(c.move);
        EXPECT_EQ(searched(bench, 1), c.expected) << c.reason;
    }
}

TEST_F(alphaBetaNode, stoppedNodeReturnsNothingAndStoresNothing)
{
    workbench bench = quietBench();
    stopSearch = true;
    EXPECT_EQ(searched(bench, 5), 0);
    EXPECT_EQ(nodes, 1U);
    stopSearch = false;
    searchLimits.infinite = false;
    searchLimits.maximumTime = 0; // over at the first check of the clock
    bench->pollCountdown = 0;
    const std::uint64_t key = bench->key;
    EXPECT_EQ(searched(bench, 5), 0);
    EXPECT_TRUE(stopSearch);
    EXPECT_EQ(bench->key, key);
    EXPECT_FALSE(ttProbe(key).isHit());
}

// Deeper than the searches whose nodes are compared.
TEST_F(alphaBetaNode, veryDeepCutoffsUpdateOnlyTheKillers)
{
    workbench bench = quietBench();
    const moveCode best = bench.move("a7a6");
    bench.node().hashMove = noMove;
    bench.node().stage = stageCaptureInit;
    updateHistories(bench.ply, *bench, best, 19);
    EXPECT_EQ(bench->quietHistory[historyIndex(blackPawn, a6)], 0);
    EXPECT_EQ(bench.node().killers[0], best);
    updateHistories(bench.ply, *bench, best, 18);
    EXPECT_GT(bench->quietHistory[historyIndex(blackPawn, a6)], 0);
    EXPECT_EQ(bench.node().killers[1], noMove) << "a killer is not remembered twice";
}

TEST_F(alphaBetaNode, clockIsReadEvery4097Nodes)
{
    workbench bench = quietBench();
    searchLimits.infinite = false;
    searchLimits.maximumTime = 0;
    bench->pollCountdown = defaultPollInterval;
    searched(bench, 30);
    EXPECT_TRUE(stopSearch);
    EXPECT_EQ(nodes, 4097U);
    for (const bool isPondering : {false, true}) // no check of the clock in either state
    {
        stopSearch = false;
        searchLimits.infinite = !isPondering;
        pondering = isPondering;
        bench->pollCountdown = 0;
        searched(bench, 1);
        EXPECT_FALSE(stopSearch);
    }
    pondering = false;
}

TEST_F(alphaBetaNode, positionsWithVeryManyMovesAreSearched)
{
    // Fifteen queens a side, where quiescence alone is enormous, and the most moves a side can have.
    const std::pair<const char *, int> positions[] = {
        {"qqqqkqqq/qqqqqqqq/8/8/8/8/QQQQQQQQ/QQQQKQQQ w - - 0 1", 1},
        {"R6R/3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/pp1Q4/kBNN1KB1 w - - 0 1", 3},
        {"3Q4/1Q4Q1/4Q3/2Q4Q/Q4Q2/3Q4/1Q4Rp/1K1QBNNk w - - 0 1", 3},
    };
    for (const auto &[fen, lastDepth] : positions)
    {
        workbench bench(fen);
        const std::uint64_t key = bench->key;
        for (int depth = 1; depth <= lastDepth; ++depth)
            searched(bench, depth);
        EXPECT_FALSE(stopSearch);
        EXPECT_EQ(bench->key, key) << fen;
    }
}

} // namespace
} // namespace tarvonel
