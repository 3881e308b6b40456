// The rules of chess on tablebase positions, and the values that probes derive from stored ones: in small
// generated files with known results, and in the published tablebases where they are available.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>

#include "support/sharedData.h"
#include "support/tablebaseFiles.h"
#include "support/temporaryDirectory.h"
#include "tablebase/tbProbe.h"
#include "tablebase/tbRegistry.h"

namespace tarvonel
{

using namespace tbTest;

namespace
{

struct walkCounts
{
    int leaves = 0, captures = 0, enPassants = 0, checks = 0, mates = 0;
    auto operator<=>(const walkCounts &) const = default;
};

void walk(const tbPosition &position, int depth, walkCounts &counts)
{
    const tbMoveList list = tbMoves(position);
    for (const tbMove move : list)
    {
        tbPosition next;
        if (!applyTbMove(next, position, move))
            continue;
        const bool zeroing = isTbCapture(position, move) || isTbPawnMove(position, move);
        EXPECT_EQ(next.rule50, zeroing ? 0 : std::min(position.rule50 + 1, 255))
            << "it must not wrap to a zeroing move";
        if (depth > 1)
            walk(next, depth - 1, counts);
        else
            counts = {counts.leaves + 1, counts.captures + isTbCapture(position, move),
                      counts.enPassants + isTbEnPassant(position, move), counts.checks + isTbCheck(next),
                      counts.mates + isTbMate(next)};
    }
}

std::string textOf(tbMove move)
{
    const std::string promotion =
        tbPromotionOf(move) == noPromotion ? "" : std::string(1, " qrbn"[tbPromotionOf(move)]);
    return squareText(tbFrom(move)) + squareText(tbTo(move)) + promotion;
}

/// The result of the root probe: the move, "mate", "stalemate" or "none".
std::string rootText(const tbPosition &position, int &dtz)
{
    int success = 0;
    const tbMove move = probeRoot(position, success, dtz);
    return success == 0 || move == 0 ? "none"
           : move == tbCheckmateCode ? "mate"
           : move == tbStalemateCode ? "stalemate"
                                     : textOf(move);
}

} // namespace

TEST(tbMoves, movesAndSuccessorsFollowTheRules)
{
    const struct
    {
        const char *fen;
        int depth;
        walkCounts counts;
    } walks[] = {
        {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1", 4, {43238, 3348, 123, 1680, 17}},
        {"8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 254 200", 3, {2812, 209, 2, 267, 0}},
        {"n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1", 3, {9483, 2921, 0, 992, 0}},
    };
    for (const auto &w : walks)
        for (const tbPosition &position : {tablePosition(w.fen), swappedColours(tablePosition(w.fen))})
        {
            walkCounts counts;
            walk(position, w.depth, counts);
            EXPECT_EQ(counts, w.counts) << w.fen << " " << counts.leaves << " " << counts.captures << " "
                                        << counts.enPassants << " " << counts.checks << " " << counts.mates;
        }
}

TEST(tbMoves, onlyConsistentPositionsAreValid)
{
    const struct
    {
        const char *what, *fen;
        bool valid = false;
    } cases[] = {
        {"consistent", "8/8/8/4k3/8/1Q6/8/K7 w - - 0 1", true},
        {"the side to move in check", "8/8/8/4k3/8/8/1Q6/K7 b - - 0 1", true},
        {"the side not to move in check", "8/8/8/4k3/8/8/1Q6/K7 w - - 0 1"},
        {"kings side by side", "8/8/8/4k3/3K4/8/8/8 w - - 0 1"},
        {"a pawn on the last rank", "1P6/8/8/4k3/8/8/8/K7 w - - 0 1"},
        {"a pawn on the first rank", "8/8/8/4k3/8/8/8/KP6 w - - 0 1"},
        {"two kings", "8/8/8/4k3/8/8/8/K1K5 w - - 0 1"},
        {"no king", "8/8/8/4k3/8/8/8/Q7 w - - 0 1"},
        {"eight pieces", "8/8/8/4k3/8/NNNNNN2/8/K7 w - - 0 1"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(tbValid(tablePosition(c.fen)), c.valid) << c.what;
    tbPosition position = tablePosition(cases[0].fen);
    position.rooks |= position.queens;
    EXPECT_FALSE(tbValid(position)) << "two pieces on a square";
    position = tablePosition(cases[0].fen);
    position.black |= position.queens;
    EXPECT_FALSE(tbValid(position)) << "a piece of both colours";
}

TEST(tbProbe, combinesStoredValuesCapturesAndEnPassant)
{
    // Every material has a table with one WDL value for each side; some have distances.
    const temporaryDirectory directory;
    writeTables(directory.path, {{"KQvK", "KQk", 2, -2},
                                 {"KRvK", "KRk", 1, -1},
                                 {"KBvK", "KBk", 0, 0},
                                 {"KNvK", "KNk", 0, 0},
                                 {"KPvK", "PKk", 2, -2},
                                 {"KRvKR", "KRkr", 0, 0},

                                 {"KQPvKP", "PpKQk", 2, 0},
                                 {"KQvKP", "pKQk", 2, -2},
                                 {"KNPvK", "PKNk", 1, -1},
                                 {"KNPvKP", "PpKNk", 1, -1},
                                 {"KNvKP", "pKNk", 0, 0}});
    writeBytes(directory / "KPvKP.rtbw", // won if the mover's pawn is on an edge file
               tableFileOf("PpKk", wdlKind, {onePart(4), onePart(2), onePart(2), onePart(2)}));
    writeBytes(directory / "KQvK.rtbz", tableFileOf("KQk", dtzKind, {onePart(9, dtzSideFlag)}));
    writeBytes(directory / "KRvK.rtbz", tableFileOf("KRk", dtzKind, {randomPart(31332, {3}, {6, 8, 0})}));
    writeBytes(directory / "KPvK.rtbz",
               tableFileOf("PKk", dtzKind, std::vector<storedPart>(4, randomPart(23436, {3}, {6, 8, dtzSideFlag}))));
    initTablebases(directory.path);
    ASSERT_EQ(tableCardinality, 5u);

    const struct
    {
        const char *what, *fen;
        int wdl, success, dtz;
        const char *root;
    } cases[] = {
        {"kings alone need no table", "8/8/8/4k3/8/8/8/K7 w - - 0 1", 0, 1, 0, "a1b1"},
        {"a missing table", "8/8/8/4k3/8/8/1p6/KB6 w - - 0 1", 0, 0, 0, "none"},
        {"a missing table of distances", "8/8/8/4k3/7p/8/8/KQ6 w - - 0 1", 2, 1, 0, "none"},
        {"more pieces than any table has", "8/8/8/4k3/8/NNNNNN2/8/K7 w - - 0 1", 0, 0, 0, "none"},

        {"distance of the stored side", "8/8/8/4k3/8/8/1Q6/K7 b - - 0 1", -2, 1, -1, "e5e4"},
        {"a longer one", "8/8/8/4k3/8/8/4P3/2K5 b - - 3 1", -2, 1, -7, "e5d4"},
        {"one move before it", "8/8/8/4k3/8/1Q6/8/K7 w - - 3 1", 2, 1, 2, "a1b1"},
        {"one move before mate", "7k/8/6K1/8/8/8/Q7/8 w - - 3 1", 2, 1, 1, "a2a8"},
        {"mated", "7k/6Q1/6K1/8/8/8/8/8 b - - 3 1", -2, 1, -1, "mate"},
        {"a win too late, distances in moves", "8/8/8/4k3/8/1R6/8/K7 w - - 3 1", 1, 1, 107, "a1b1"},
        {"saved, one move before that", "8/8/8/4k3/8/1R6/8/K7 b - - 3 1", -1, 1, -108, "e5d4"},
        {"drawn: moves by the material", "8/8/8/4k3/8/1N6/8/K7 w - - 3 1", 0, 1, 0, "b3c5"},
        {"stalemate", "k7/8/1K6/8/8/6B1/8/8 b - - 3 1", 0, 1, 0, "stalemate"},

        {"equal pieces: the mover's pawn leads", "4k3/3p4/8/8/8/8/P7/4K3 w - - 0 1", 2, 1, 0, "none"},
        {"and not the other", "4k3/3p4/8/8/8/8/P7/4K3 b - - 0 1", 0, 1, 0, "none"},
        {"a capture that saves", "8/8/8/8/8/8/4kR2/K7 b - - 3 1", 0, 1, 0, "e2f2"},
        {"a capture that wins too late", "8/8/3k4/8/4r3/8/8/K3R3 w - - 3 1", 1, 2, 101, "e1e4"},
        {"a capture that is met by one", "8/8/8/3kr3/8/8/8/K3R3 w - - 3 1", 0, 1, 0, "e1f1"},
        {"promotion", "8/4P3/8/8/8/k7/8/2K5 w - - 3 1", 2, 1, 1, "e7e8q"},
        {"a pawn's step that keeps the win", "8/8/8/8/8/k7/4P3/2K5 w - - 3 1", 2, 1, 1, "e2e3"},

        {"en passant wins", "4k3/8/8/3pP3/8/8/8/4K3 w - d6 0 1", 2, 2, 1, "e5d6"},
        {"not without the right to capture en passant", "4k3/8/8/3pP3/8/8/8/4K3 w - - 0 1", 0, 1, 0, "e1f2"},
        {"en passant as good as the table", "8/6k1/8/3pP3/8/8/8/N3K3 w - d6 0 1", 1, 2, 101, "none"},
        {"en passant lifts a stalemate", "8/8/8/8/Pp6/1K6/5Q2/7k b - a3 0 1", -2, 2, -1, "b4a3"},
        {"the king can move, and there is none", "4Q3/8/8/8/Pp6/1K6/8/7k b - a3 0 1", 0, 1, 0, "none"},
        {"stalemate with nothing to take", "8/8/8/8/Pp6/1K6/5Q2/7k b - - 0 1", 0, 1, 0, "stalemate"},
    };
    for (const auto &c : cases)
        for (const bool swapped : {false, true})
        {
            const tbPosition position = swapped ? swappedColours(tablePosition(c.fen)) : tablePosition(c.fen);
            int success = -7;
            EXPECT_EQ(probeWdl(position, success), c.wdl) << c.what;
            EXPECT_EQ(success, c.success) << c.what;
            EXPECT_EQ(probeDtz(position, success), c.dtz) << c.what;
            int dtz = c.dtz;
            if (!swapped)
                EXPECT_EQ(rootText(position, dtz), c.root) << c.what;
            EXPECT_EQ(dtz, c.dtz) << c.what;
        }
    initTablebases("");
}

namespace
{

std::string realTables() { return sharedDataPath("syzygy"); }

struct publishedTables : testing::Test
{
    void SetUp() override
    {
        if (!std::filesystem::exists(realTables() + "/KQvK.rtbw"))
            GTEST_SKIP() << "no tables in " << realTables();
        initTablebases(realTables());
    }
    void TearDown() override { initTablebases(""); }
};
using slowPublishedTables = publishedTables;

int probed(int (*probe)(const tbPosition &, int &), const tbPosition &position)
{
    int success = 0;
    const int answer = probe(position, success);
    EXPECT_NE(success, 0);
    return answer;
}
int wdlOf(const tbPosition &position) { return probed(probeWdl, position); }
int dtzOf(const tbPosition &position) { return probed(probeDtz, position); }

/// Compares a position's values with those of its successors, and the root's move with its score. Files
/// that count moves instead of plies give distances one ply short.
void expectConsistency(const tbPosition &position, int tolerance)
{
    const tbMoveList list = tbLegalMoves(position);
    const int wdl = wdlOf(position), dtz = dtzOf(position);
    int bestWdl = list.count == 0 && !isTbCheck(position) ? 0 : -2, bestDtz = wdl > 0 ? 1000 : wdl < 0 ? -1 : 0;
    int rootDtz = 0, success = 0;
    const tbMove chosen = probeRoot(position, success, rootDtz);
    ASSERT_EQ(rootDtz, dtz);
    for (const tbMove move : list)
    {
        tbPosition next;
        applyTbMove(next, position, move);
        const int nextWdl = -wdlOf(next);
        const bool zeroing = next.rule50 == 0;
        const int plies = zeroing || isTbMate(next) ? nextWdl / 2 : -dtzOf(next) + (nextWdl > 0) - (nextWdl < 0);
        bestWdl = std::max(bestWdl, nextWdl);
        if (wdl > 0 && nextWdl > 0)
            bestDtz = std::min(bestDtz, plies);
        else if (wdl < 0)
            bestDtz = std::min(bestDtz, plies);
        if (move == chosen)
        {
            ASSERT_EQ(nextWdl, wdl);
            ASSERT_NEAR(plies, dtz, tolerance);
        }
    }
    ASSERT_EQ(wdl, bestWdl);
    ASSERT_NEAR(dtz, bestDtz, tolerance);
}

/// Random positions of every table, some of them after a double step that can be captured en passant.
void expectConsistency(int positionsPerTable)
{
    std::mt19937_64 random(7);
    int tables = 0, withEnPassant = 0;
    for (const auto &file : std::filesystem::directory_iterator(realTables()))
    {
        const std::string name = file.path().stem().string();
        if (file.path().extension() != ".rtbw")
            continue;
        ++tables;
        const bool threePieces = name.size() == 4; // small enough to count plies
        const int share = threePieces ? 10 : name == "KPvKP" ? 30 : 1;
        for (int i = 0; i < positionsPerTable * share && !testing::Test::HasFatalFailure(); ++i)
        {
            tbPosition position = randomPosition(name, random);
            const tbMoveList list = tbLegalMoves(position);
            for (const tbMove move : list)
                if (tbPosition next; applyTbMove(next, position, move), next.ep != 0)
                {
                    position = next;
                    ++withEnPassant;
                    break;
                }
            SCOPED_TRACE(name + " " + std::to_string(i));
            expectConsistency(position, threePieces ? 0 : 1);
        }
    }
    EXPECT_EQ(tables, 35);
    EXPECT_GT(withEnPassant, positionsPerTable / 20);
}

TEST_F(publishedTables, valuesAgreeWithTheirSuccessors) { expectConsistency(100); }

TEST_F(slowPublishedTables, moreValuesAgreeWithTheirSuccessors) { expectConsistency(3000); }

} // namespace
} // namespace tarvonel
