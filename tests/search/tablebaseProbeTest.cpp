#include "search/tablebaseProbe.h"

#include <cstdlib>
#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "search/score.h"
#include "search/searchReporter.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"
#include "support/sharedData.h"
#include "support/temporaryDirectory.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

TEST(tableNodes, areProbedFreshSmallEnoughAndWithoutCastlingRights)
{
    const unsigned before = tableCardinality;
    const struct
    {
        const char *reason, *fen;
        unsigned cardinality;
        int depth, probeDepth;
        bool expected;
    } cases[] = {
        {"no tables", "4k3/8/8/8/8/8/8/Q3K3 w - - 0 1", 0, 5, 0, false},
        {"few men", "4k3/8/8/8/8/8/8/Q3K3 w - - 0 1", 4, 1, 5, true},
        {"as many as the largest table, shallow", "4k3/p7/8/8/8/8/8/Q3K3 w - - 0 1", 4, 4, 5, false},
        {"as many as the largest table, deep enough", "4k3/p7/8/8/8/8/8/Q3K3 w - - 0 1", 4, 5, 5, true},
        {"too many men", "4k3/pp6/8/8/8/8/8/Q3K3 w - - 0 1", 4, 20, 0, false},
        {"a quiet move since the last capture", "4k3/8/8/8/8/8/8/Q3K3 w - - 1 1", 4, 5, 0, false},
        {"castling rights", "4k3/8/8/8/8/8/8/R3K3 w Q - 0 1", 4, 5, 0, false},
    };
    for (const auto &c : cases)
    {
        tableCardinality = c.cardinality;
        engineOptions.syzygyProbeDepth = c.probeDepth;
        workbench bench(c.fen);
        EXPECT_EQ(isTableNode(0, c.depth, *bench), c.expected) << c.reason;
    }
    tableCardinality = before;
    engineOptions.syzygyProbeDepth = defaultSyzygyProbeDepth;
}

class searchWithTables : public searchFixture
{
  protected:
    void SetUp() override
    {
        searchFixture::SetUp();
        if (!std::filesystem::exists(sharedDataPath("syzygy/KQvK.rtbw")))
            GTEST_SKIP() << "no endgame tables";
        initTablebases(sharedDataPath("syzygy"));
        ASSERT_EQ(tableCardinality, 4U);
    }
    void TearDown() override
    {
        initTablebases("");
        engineOptions.syzygyProbeDepth = defaultSyzygyProbeDepth;
        searchFixture::TearDown();
    }
};

constexpr const char *won = "4k3/8/8/8/8/8/8/Q3K3 w - - 0 1";
constexpr const char *lost = "4k3/8/8/8/8/8/8/Q3K3 b - - 0 1";
constexpr const char *drawn = "8/8/8/8/8/k7/p7/K7 w - - 0 1";
constexpr const char *fiveMen = "4k3/pp6/8/8/8/8/8/3QK3 w - - 0 1"; // and nothing to capture

TEST_F(searchWithTables, outcomesInTheTreeAndTheirCutOffs)
{
    constexpr int ply = 6;
    constexpr int win = 31872 - ply;
    const struct
    {
        const char *reason, *fen;
        int outcome, alpha, beta;
        std::optional<int> score;
        ttBound bound;
    } cases[] = {
        {"win at beta", won, tableWin, win - 1, win, win, boundLower},
        {"win above beta", won, tableWin, 0, 1, win, boundLower},
        {"win below beta: there may be a mate", won, tableWin, win, win + 1, std::nullopt, boundNone},
        {"loss at alpha", lost, tableLoss, -win, -win + 1, -win, boundUpper},
        {"loss above alpha", lost, tableLoss, -win - 1, -win, std::nullopt, boundNone},
        {"draw in any window", drawn, tableDraw, 500, 501, 0, boundExact},
        {"draw in an open window", drawn, tableDraw, -500, 501, 0, boundExact},
        {"not in the tables", fiveMen, tableFailed, 0, 1, std::nullopt, boundNone},
    };
    for (const auto &c : cases)
    {
        ttClear();
        workbench bench(c.fen);
        EXPECT_EQ(probeInTree(0, *bench), c.outcome) << c.reason;
        bench.node(ply) = bench.node(0);
        EXPECT_EQ(probeForCutoff(ply, 9, c.alpha, c.beta, *bench), c.score) << c.reason;
        EXPECT_EQ(bench->tablebaseHits, c.outcome == tableFailed ? 0U : 1U) << "counted whether it cuts or not";
        const ttEntry entry = ttProbe(bench->key);
        EXPECT_EQ(entry.bound(), c.bound) << c.reason;
        if (c.score)
        {
            EXPECT_EQ(entry.value(), *c.score) << "not bound to a ply";
            EXPECT_EQ(entry.depth(), 13);
            EXPECT_EQ(entry.move(), noMove);
            EXPECT_TRUE(probeForCutoff(ply, 125, c.alpha, c.beta, *bench));
            EXPECT_EQ(ttProbe(bench->key).depth(), 127) << "the depth has a ceiling";
        }
    }
}

TEST_F(searchWithTables, rootMoveSettlesTheSearch)
{
    const struct
    {
        const char *reason, *fen;
        int lowest, highest;
    } cases[] = {
        {"won", "6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1", 31872 - 7, 31872 - 6},
        {"lost", "8/8/8/8/8/5k2/8/q6K w - - 0 1", -31872, -31000},
        {"drawn", "8/8/8/8/8/k7/8/K2B4 w - - 0 1", 0, 0},
        {"won, too late for the fifty-move rule", "8/8/8/8/3k4/8/8/KBN5 w - - 70 90", 0, 0},
        {"en passant", "8/8/8/2k5/3pP3/8/8/4K3 b - e3 0 1", -31872, 31872},
    };
    for (const auto &c : cases)
    {
        const searchRecord &record = run(c.fen, {});
        EXPECT_EQ(record.tableMoves, 1) << c.reason;
        EXPECT_EQ(record.lines.size(), 1U) << "the answer alone";
        EXPECT_TRUE(isLegalIn(c.fen, record.best)) << c.reason;
        EXPECT_GE(record.score, c.lowest) << c.reason;
        EXPECT_LE(record.score, c.highest) << c.reason;
        EXPECT_EQ(theBoss().position.searchNodes, 0U);
        EXPECT_EQ(theBoss().position.rootDepth, 127);
    }
}

TEST_F(searchWithTables, rootsThatTheTablesDoNotSettle)
{
    for (const char *fen :
         {"4k3/8/8/8/8/8/8/4K2R w K - 0 1", "4k3/pp6/8/8/8/8/8/Q3K3 w - - 0 1", "7k/5Q2/8/8/8/8/8/4K3 b - - 0 1"})
    {
        const searchRecord &record = run(fen, {.depth = 4});
        EXPECT_EQ(record.tableMoves, 0) << fen;
        EXPECT_GT(theBoss().position.searchNodes, 0U) << fen;
    }
}

TEST_F(searchWithTables, rootProbeMayGiveADoubleStep)
{
    int doubleSteps = 0;
    for (const char *fen : {"8/8/8/8/8/k7/4P3/6K1 w - - 0 1", "6k1/4p3/8/8/8/8/8/K7 b - - 0 1",
                            "6k1/6p1/8/8/8/8/8/K7 b - - 0 1", "8/3k4/8/8/8/1K6/6P1/8 w - - 0 1"})
    {
        workbench bench(fen);
        const moveCode move = probeAtRoot(*bench);
        ASSERT_NE(move, noMove) << fen;
        const bool isDouble = std::abs(moveTo(move) - moveFrom(move)) == 16 && isPawn(bench->board[moveFrom(move)]);
        EXPECT_EQ(moveFlagOf(move) == doubleStep, isDouble) << fen;
        doubleSteps += isDouble;
    }
    EXPECT_GT(doubleSteps, 0);
}

TEST_F(searchWithTables, capturesIntoTheTablesHitInTheTree)
{
    constexpr const char *fen = "8/8/3k4/8/2n1p3/8/3K4/4R3 w - - 0 1"; // five men, two of them hanging
    EXPECT_GT(run(fen, {.depth = 8}).nodes, 0U);
    EXPECT_GT(sumUpSearch().tablebaseHits, 0U);
    engineOptions.syzygyProbeDepth = 127;
    newGame();
    const std::uint64_t before = sumUpSearch().tablebaseHits;
    run(fen, {.depth = 5});
    EXPECT_LT(sumUpSearch().tablebaseHits, before) << "four men are no longer probed, three men still are";
}

TEST_F(searchWithTables, severalThreadsProbeAtOnce)
{
    usePool(3);
    for (int round = 0; round < 3; ++round)
    {
        initTablebases(sharedDataPath("syzygy")); // all files are mapped anew, by whoever comes first
        newGame();
        EXPECT_EQ(run("8/5k2/3p4/8/1P1K4/8/4R3/8 w - - 0 1", {.depth = 9}).answers, 1);
        EXPECT_GT(sumUpSearch().tablebaseHits, 0U);
    }
    EXPECT_EQ(run("6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1", {}).tableMoves, 1);
}

TEST_F(searchWithTables, withoutDistancesTheRootIsSearched)
{
    const temporaryDirectory directory;
    std::filesystem::copy_file(sharedDataPath("syzygy/KQvK.rtbw"), directory / "KQvK.rtbw");
    initTablebases(directory.path);
    ASSERT_EQ(tableCardinality, 3U);
    workbench bench("6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1");
    EXPECT_EQ(probeInTree(0, *bench), tableWin);
    const searchRecord &record = run("6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1", {.depth = 6});
    EXPECT_EQ(record.tableMoves, 0);
    EXPECT_TRUE(isLegalIn("6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1", record.best));
}

} // namespace
} // namespace tarvonel
