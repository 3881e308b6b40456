#include "search/tbSearch.h"

#include <optional>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "search/score.h"
#include "search/searchReporter.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"
#include "support/tablebaseFiles.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{

using namespace tbTest;

namespace
{

TEST(tbNodes, haveFewPiecesNoCastlingRightsAndAZeroedCount)
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
        {"few pieces", "4k3/8/8/8/8/8/8/Q3K3 w - - 0 1", 4, 1, 5, true},
        {"as many as the largest table, shallow", "4k3/p7/8/8/8/8/8/Q3K3 w - - 0 1", 4, 4, 5, false},
        {"as many as the largest table, deep enough", "4k3/p7/8/8/8/8/8/Q3K3 w - - 0 1", 4, 5, 5, true},
        {"too many pieces", "4k3/pp6/8/8/8/8/8/Q3K3 w - - 0 1", 4, 20, 0, false},
        {"a quiet move since the last capture", "4k3/8/8/8/8/8/8/Q3K3 w - - 1 1", 4, 5, 0, false},
        {"castling rights", "4k3/8/8/8/8/8/8/R3K3 w Q - 0 1", 4, 5, 0, false},
    };
    for (const auto &c : cases)
    {
        tableCardinality = c.cardinality;
        engineOptions.syzygyProbeDepth = c.probeDepth;
        workbench bench(c.fen);
        EXPECT_EQ(isTbNode(0, c.depth, *bench), c.expected) << c.reason;
    }
    tableCardinality = before;
    engineOptions.syzygyProbeDepth = defaultSyzygyProbeDepth;
}

/// Tables of made-up values, the same in all positions with the same side to move: a queen or pawn
/// wins, a rook too late, a minor piece draws.
class searchWithTablebases : public searchFixture
{
  protected:
    void SetUp() override
    {
        searchFixture::SetUp();
        writeTables(directory.path, {{"KQvK", "KQk", 2, -2},
                                     {"KRvK", "KRk", 1, -1},
                                     {"KBvK", "KBk", 0, 0},
                                     {"KNvK", "KNk", 0, 0},
                                     {"KPvK", "PKk", 2, -2},
                                     {"KPvKP", "PpKk", 0, 0},
                                     {"KQQvK", "KkQQ", 2, -2},
                                     {"KRvKP", "pKRk", 2, -2},
                                     {"KRvKN", "KRkn", 0, 0}});
        writeBytes(directory / "KQvK.rtbz", tableFileOf("KQk", dtzKind, {onePart(0)}));
        writeBytes(directory / "KRvK.rtbz", tableFileOf("KRk", dtzKind, {onePart(0)}));
        writeBytes(directory / "KPvK.rtbz", tableFileOf("PKk", dtzKind, std::vector<storedPart>(4, onePart(0))));
        initTablebases(directory.path);
        ASSERT_EQ(tableCardinality, 4U);
    }
    void TearDown() override
    {
        initTablebases("");
        engineOptions.syzygyProbeDepth = defaultSyzygyProbeDepth;
        searchFixture::TearDown();
    }

    temporaryDirectory directory;
};

constexpr const char *won = "4k3/8/8/8/8/8/8/Q3K3 w - - 0 1";
constexpr const char *lost = "4k3/8/8/8/8/8/8/Q3K3 b - - 0 1";
constexpr const char *drawn = "4k3/8/8/8/8/8/8/B3K3 b - - 0 1";
constexpr const char *wonTooLate = "4k3/8/8/8/8/8/8/R3K3 w - - 0 1";
constexpr const char *lostTooLate = "4k3/8/8/8/8/8/8/R3K3 b - - 0 1";
constexpr const char *fivePieces = "4k3/pp6/8/8/8/8/8/3QK3 w - - 0 1"; // and nothing to capture

TEST_F(searchWithTablebases, outcomesInTheTreeAndTheirCutoffs)
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
        {"win at beta", won, tbWin, win - 1, win, win, boundLower},
        {"win above beta", won, tbWin, 0, 1, win, boundLower},
        {"win below beta: there may be a mate", won, tbWin, win, win + 1, std::nullopt, boundNone},
        {"loss at alpha", lost, tbLoss, -win, -win + 1, -win, boundUpper},
        {"loss above alpha", lost, tbLoss, -win - 1, -win, std::nullopt, boundNone},
        {"draw in any window", drawn, tbDraw, 500, 501, 0, boundExact},
        {"draw in a full window", drawn, tbDraw, -500, 501, 0, boundExact},
        {"won too late: a draw", wonTooLate, tbCursedWin, 500, 501, 0, boundExact},
        {"lost too late: a draw", lostTooLate, tbBlessedLoss, -501, -500, 0, boundExact},
        {"not in the tables", fivePieces, tbFailed, 0, 1, std::nullopt, boundNone},
    };
    for (const auto &c : cases)
    {
        ttClear();
        workbench bench(c.fen);
        EXPECT_EQ(probeInTree(0, *bench), c.outcome) << c.reason;
        bench.node(ply) = bench.node(0);
        EXPECT_EQ(probeForCutoff(ply, 9, c.alpha, c.beta, *bench), c.score) << c.reason;
        EXPECT_EQ(bench->tablebaseHits, c.outcome == tbFailed ? 0U : 1U) << "counted whether it cuts or not";
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

TEST_F(searchWithTablebases, rootMoveReplacesTheSearch)
{
    const struct
    {
        const char *reason, *fen;
        int score;
    } cases[] = {
        {"won", "6k1/3Q4/8/8/2K5/8/8/8 w - - 0 1", 31871},
        {"lost", "8/8/8/8/8/5k2/8/q6K w - - 0 1", -31870},
        {"drawn", "8/8/8/8/8/k7/8/K2B4 w - - 0 1", 0},
        {"won in the last ply of the fifty-move rule", "6k1/3Q4/8/8/2K5/8/8/8 w - - 99 90", 31871},
        {"and one too late", "6k1/3Q4/8/8/2K5/8/8/8 w - - 100 90", 0},
        {"lost in its last ply", "8/8/8/8/8/5k2/8/q6K w - - 98 90", -31870},
        {"saved by it", "8/8/8/8/8/5k2/8/q6K w - - 99 90", 0},
        {"a win that it spoils", "8/8/8/4k3/8/1R6/8/K7 w - - 0 1", 0},
        {"en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", 31871},
        {"en passant by black", "4k3/8/8/8/3pP3/8/8/4K3 b - e3 0 1", 31871},
        {"promotion", "8/4P3/8/8/8/k7/8/2K5 w - - 3 1", 31871},
        {"double step", "2k5/4p3/8/8/8/K7/8/8 b - - 3 1", 31871},
    };
    for (const auto &c : cases)
    {
        const searchRecord record = run(c.fen, {.depthLimit = 1});
        EXPECT_EQ(record.tableMoves, 1) << c.reason;
        EXPECT_EQ(record.lines.size(), 1U) << "the answer alone";
        EXPECT_TRUE(isLegalIn(c.fen, record.best)) << c.reason;
        EXPECT_EQ(record.score, c.score) << c.reason;
        EXPECT_EQ(theBoss().position.searchNodes, 0U);
        EXPECT_EQ(theBoss().position.rootDepth, 127);
    }
}

TEST_F(searchWithTablebases, distancesThatContradictTheResultsWinTooLate)
{
    // A win by results; every king's move draws, the new queen wins too late, and the pawn's table has
    // distances for the other side alone: no distance is found.
    const temporaryDirectory contradicting;
    writeTables(contradicting.path, {{"KPvK", "PKk", 2, 0},
                                     {"KQvK", "KQk", 1, -1},
                                     {"KRvK", "KRk", 0, 0},
                                     {"KBvK", "KBk", 0, 0},
                                     {"KNvK", "KNk", 0, 0}});
    writeBytes(contradicting / "KPvK.rtbz",
               tableFileOf("PKk", dtzKind, std::vector<storedPart>(4, onePart(0, dtzSideFlag))));
    initTablebases(contradicting.path);
    for (const char *fen : {"8/4P3/8/8/8/k7/8/2K5 w - - 0 1", "8/4P3/8/8/8/k7/8/2K5 w - - 7 9"})
    {
        const searchRecord record = run(fen, {.depthLimit = 1});
        EXPECT_EQ(record.tableMoves, 1);
        EXPECT_EQ(record.score, 0) << fen;
    }
}

TEST_F(searchWithTablebases, rootsThatMustBeSearched)
{
    const struct
    {
        const char *reason, *fen;
    } cases[] = {
        {"castling rights", "4k3/8/8/8/8/8/8/4K2R w K - 0 1"},
        {"too many pieces", "4k3/pp6/8/8/8/8/8/Q3K3 w - - 0 1"},
        {"stalemate for the tables' win", "7k/5Q2/8/8/8/8/8/4K3 b - - 0 1"},
        {"results without distances", "4k3/8/8/8/8/8/8/QQ2K3 w - - 0 1"},
    };
    for (const auto &c : cases)
    {
        const searchRecord record = run(c.fen, {.depthLimit = 4});
        EXPECT_EQ(record.tableMoves, 0) << c.reason;
        EXPECT_GT(theBoss().position.searchNodes, 0U) << c.reason;
    }
}

TEST_F(searchWithTablebases, capturesIntoTheTablesHitInTheTree)
{
    constexpr const char *fen = "8/8/3k4/8/2n1p3/8/3K4/4R3 w - - 0 1"; // five pieces, two of them hanging
    run(fen, {.depthLimit = 8});
    const std::uint64_t hits = sumUpSearch().tablebaseHits;
    EXPECT_GT(hits, 0U);
    engineOptions.syzygyProbeDepth = 127;
    newGame();
    run(fen, {.depthLimit = 5});
    EXPECT_LT(sumUpSearch().tablebaseHits, hits) << "four pieces are no longer probed, three pieces still are";
    engineOptions.syzygyProbeDepth = defaultSyzygyProbeDepth;
    usePool(3);
    for (int round = 0; round < 3; ++round)
    {
        initTablebases(directory.path); // all files are mapped again, by the first thread to probe them
        newGame();
        run(fen, {.depthLimit = 8});
        EXPECT_GT(sumUpSearch().tablebaseHits, 0U);
    }
}

} // namespace
} // namespace tarvonel
