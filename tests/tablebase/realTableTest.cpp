// The published tables of three and four men, where they are there: against the solver, and
// against themselves one move on.

#include <gtest/gtest.h>

#include <algorithm>
#include <filesystem>
#include <random>

#include "support/sharedData.h"
#include "support/tablebaseWorld.h"
#include "tablebase/probe.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

using namespace endings;

namespace
{

std::string realTables() { return sharedDataPath("syzygy"); }

struct realTableTest : testing::Test
{
    void SetUp() override
    {
        if (!std::filesystem::exists(realTables() + "/KQvK.rtbw"))
            GTEST_SKIP() << "no tables in " << realTables();
        initTablebases(realTables());
    }
    void TearDown() override { initTablebases(""); }
};
using realTables3And4 = realTableTest;
using slowTablebaseRealFiles = realTableTest;

int probed(int (*probe)(const tbPosition &, int &), const ending &position)
{
    int success = 0;
    const int answer = probe(toTbPosition(position), success);
    EXPECT_NE(success, 0) << describe(position);
    return answer;
}
int wdlOf(const ending &position) { return probed(probeWdl, position); }
int dtzOf(const ending &position) { return probed(probeDtz, position); }

bool isMated(const ending &position) { return isInCheck(position, position.turn) && legalMoves(position).empty(); }

/// Best value of the moves: what the position's own has to be.
int wdlOneMoveOn(const ending &position, const std::vector<endingMove> &moves)
{
    if (moves.empty())
        return isInCheck(position, position.turn) ? -2 : 0;
    int best = -2;
    for (const endingMove &move : moves)
        best = std::max(best, -wdlOf(move.next));
    return best;
}

int dtzOneMoveOn(const std::vector<endingMove> &moves, int wdl)
{
    int best = wdl > 0 ? 1000 : wdl == 0 ? 0 : -1;
    for (const endingMove &move : moves)
    {
        if (wdl == 0)
            break;
        const bool zeroing = move.capture || move.pawnMove;
        const int value = zeroing ? -wdlOf(move.next) / 2 : -dtzOf(move.next);
        if (wdl > 0 && value > 0)
            best = std::min(best, zeroing || (value == 1 && isMated(move.next)) ? 1 : value + 1);
        if (wdl < 0 && !zeroing)
            best = std::min(best, value - 1);
    }
    return best;
}

/// Random positions of every table, one in some with an en passant square where there can be one.
void expectConsistency(int positionsPerTable)
{
    std::mt19937_64 random(7);
    int tables = 0, withEp = 0;
    for (const auto &file : std::filesystem::directory_iterator(realTables()))
    {
        if (file.path().extension() != ".rtbw")
            continue;
        ++tables;
        const std::string name = file.path().stem().string();
        for (int done = 0; done < positionsPerTable;)
        {
            ending position = menOfName(name);
            for (int i = 0; i < position.count; ++i)
                position.squares[i] = static_cast<int>(random() % 64);
            position.turn = static_cast<colour>(random() % 2);
            if (random() % 2)
                position = swappedColours(position);
            if (!isPossible(position))
                continue;
            // Half of the time the position after a double step that can be met en passant.
            for (const endingMove &move : legalMoves(position))
                if (move.next.ep != noEp)
                {
                    position = move.next;
                    ++withEp;
                    break;
                }
            ++done;
            const std::vector<endingMove> moves = legalMoves(position);
            const int wdl = wdlOf(position);
            ASSERT_EQ(wdl, wdlOneMoveOn(position, moves)) << describe(position);
            // The files count moves, not plies: distances may be one short, here or one move on.
            ASSERT_NEAR(dtzOf(position), dtzOneMoveOn(moves, wdl), 1) << describe(position);
        }
    }
    EXPECT_EQ(tables, 35);
    EXPECT_GT(withEp, 0);
}

} // namespace

TEST_F(realTables3And4, threeMenAgreeWithTheSolver)
{
    ASSERT_EQ(tableCardinality, 4u);
    expectThreeMenAgree();
}

TEST_F(realTables3And4, valuesAgreeWithThoseOneMoveOn) { expectConsistency(60); }

TEST_F(slowTablebaseRealFiles, valuesAgreeWithThoseOneMoveOnManyTimes) { expectConsistency(3000); }

} // namespace tarvonel
