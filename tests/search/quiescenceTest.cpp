#include "search/search.h"

#include <random>
#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "search/score.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"

namespace tarvonel
{
namespace
{

constexpr const char *losing = "6k1/3p4/4p3/8/8/8/8/3Q2K1 b - - 0 1";
constexpr const char *freeRook = "1k5r/p7/8/8/3B4/8/8/6K1 b - - 0 1";
constexpr const char *check = "r5k1/8/8/8/8/8/8/4K3 b - - 0 1";

class quiescenceSearch : public testing::Test
{
  protected:
    void SetUp() override { prepareSearchTest(); }

    /// Score in the full window; `nodes` becomes the nodes of this call.
    int resolve(workbench &bench, int qDepth, int alpha = -infiniteScore, int beta = infiniteScore)
    {
        const std::uint64_t before = bench->quiescenceNodes;
        const int score = quiescence(bench.ply, qDepth, alpha, beta, *bench);
        nodes = bench->quiescenceNodes - before;
        return score;
    }
    std::uint64_t nodes = 0;
};

TEST_F(quiescenceSearch, nodesWithoutMoves)
{
    workbench mated("rnb1kbnr/pppp1ppp/8/4p3/6Pq/5P2/PPPPP2P/RNBQKBNR w KQkq - 0 1");
    EXPECT_EQ(resolve(mated, 0), -scoreMate);
    EXPECT_EQ(nodes, 1U);
    workbench stalemate("7k/5Q2/8/8/8/8/8/4K3 b - - 0 1");
    EXPECT_EQ(resolve(stalemate, 0), evaluate(0, *stalemate)) << "a stalemate is not seen";
    workbench bare("4k1n1/8/8/8/8/8/8/4KB2 w - - 0 1");
    EXPECT_EQ(resolve(bare, 0), scoreDraw);
}

TEST_F(quiescenceSearch, movesTriedByDepth)
{
    const struct
    {
        const char *reason, *fen, *move;
        int qDepth;
        bool isSearched;
    } cases[] = {
        {"a defended pawn that has just moved: a losing capture", losing, "d7d5", 0, false},
        {"still", losing, "d7d5", -4, false},
        {"tried as a deep recapture", losing, "d7d5", -5, true},
        {"at any depth", losing, "d7d5", -14, true},
        {"a free rook elsewhere", freeRook, "a7a6", -4, true},
        {"deep nodes take on the last square alone", freeRook, "a7a6", -5, false},
        {"a check is answered", check, "a8e8", -13, true},
        {"down to the last evasion depth: no mate score for want of evasions", check, "a8e8", -14, false},
    };
    for (const auto &c : cases)
    {
        workbench bench(c.fen);
        bench.play(c.move);
        const int score = resolve(bench, c.qDepth);
        EXPECT_EQ(nodes > 1, c.isSearched) << c.reason;
        if (c.fen != check || !c.isSearched)
        {
            EXPECT_EQ(score > evaluate(bench.ply, *bench), c.fen == freeRook && c.isSearched) << c.reason;
        }
    }
}

TEST_F(quiescenceSearch, writesNothingIntoTheTable)
{
    workbench bench("r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1");
    resolve(bench, 0);
    EXPECT_GT(nodes, 20U);
    for (std::uint64_t cluster = 0; cluster <= ttMask; ++cluster)
        for (const auto &word : ttTable[cluster].data)
            ASSERT_EQ(word, 0U);
}

TEST_F(quiescenceSearch, lastPlyIsEvaluated)
{
    workbench bench(startPositionFen);
    std::mt19937 random(3);
    while (bench.ply < maxPly)
    {
        const std::vector<moveCode> moves = bench.legalMoves();
        ASSERT_FALSE(moves.empty()) << "take another seed";
        bench.play(moves[random() % moves.size()]);
    }
    const int score = evaluate(maxPly, *bench);
    EXPECT_EQ(resolve(bench, 0), score);
    EXPECT_EQ(nodes, 1U);
    EXPECT_EQ(alphaBeta(maxPly, 5, -infiniteScore, infiniteScore, *bench), score);
    EXPECT_EQ(bench->searchNodes, 1U);
}

TEST_F(quiescenceSearch, fullMoveStackIsEvaluated)
{
    for (const bool isFull : {false, true})
    {
        workbench bench("6k1/8/8/3p4/4P3/8/8/6K1 b - - 0 1");
        bench.play("g8g7");
        bench.node().listStart = bench.node(0).listStart + moveStackSize - moveListReserve + (isFull ? 1 : 0);
        resolve(bench, 0);
        EXPECT_EQ(nodes == 1, isFull);
        const std::uint64_t before = bench->searchNodes;
        const int score = alphaBeta(bench.ply, 2, -infiniteScore, infiniteScore, *bench);
        EXPECT_EQ(bench->searchNodes == before + 1, isFull);
        if (isFull)
        {
            EXPECT_EQ(score, evaluate(bench.ply, *bench));
        }
    }
}

} // namespace
} // namespace tarvonel
