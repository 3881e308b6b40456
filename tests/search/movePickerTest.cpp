#include "search/movePicker.h"

#include <algorithm>
#include <random>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "movegen/moveChecks.h"
#include "search/history.h"
#include "search/searchSupport.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

/// Rook a1 takes a7 for nothing, pawn e4 takes d5 for a pawn, knight c3 takes d5 at a loss. Black has just moved.
constexpr const char *captureFen = "7k/p6p/4p3/3p4/4P3/2N5/6P1/R5K1 b - - 0 1";
constexpr const char *blackMove = "h7h6";

using texts = std::vector<std::string>;

texts firstOf(texts list, std::size_t count)
{
    list.resize(std::min(count, list.size()));
    return list;
}

/// All moves of the ply as "text/stage", in the order of the picker.
texts pickAll(workbench &bench, bool skipQuiets = false)
{
    texts picked;
    prepareMovePicker(bench.ply, *bench);
    for (moveCode move = nextMove(bench.ply, *bench, skipQuiets); move != noMove;
         move = nextMove(bench.ply, *bench, skipQuiets))
        picked.push_back(bench.text(move) + "/" + std::to_string(bench.node().stage));
    return picked;
}

workbench captureBench()
{
    workbench bench(captureFen);
    bench.play(blackMove);
    return bench;
}

TEST(movePicker, stagesComeInOrder)
{
    workbench bench = captureBench();
    bench.node().hashMove = bench.move("a1a2");
    bench.node().killers[0] = bench.move("g1f1");
    bench.node().killers[1] = encodeMove(d1, d8, plainMove, whiteQueen); // no such queen
    const moveCode previous = bench.node(0).playedMove;
    bench->counterMoves[historyIndex(moveExtra(previous), moveTo(previous))] = bench.move("c3b5");

    const texts picked = pickAll(bench);
    EXPECT_EQ(firstOf(picked, 6), (texts{"a1a2/1", "e4d5/2", "a1a7/2", "g1f1/4", "c3b5/6", "c3d5/7"}));
    EXPECT_EQ(picked.size(), bench.legalMoves().size());
    EXPECT_TRUE(
        std::all_of(picked.begin() + 6, picked.end(), [](const std::string &each) { return each.back() == '9'; }));
}

TEST(movePicker, secondKillerAndNoCounterMoveAfterANullMove)
{
    workbench bench(captureFen);
    bench.pass();
    std::fill_n(bench->counterMoves, historyRows, bench.move("c3b5"));
    bench.node().killers[1] = bench.move("g1h1");
    const texts picked = pickAll(bench);
    EXPECT_EQ(firstOf(picked, 3), (texts{"e4d5/2", "a1a7/2", "g1h1/5"}));
    EXPECT_TRUE(std::ranges::none_of(picked, [](const std::string &each) { return each.back() == '6'; }));
}

TEST(movePicker, quietsFollowTheSumOfThreeHistories)
{
    workbench bench(startPositionFen);
    bench.play("g1f3");
    bench.play("g8f6");
    const continuationRows rows = continuationOf(bench.ply, *bench);
    ASSERT_NE(rows.one, nullptr);
    ASSERT_NE(rows.two, nullptr);
    bench->quietHistory[historyIndex(whitePawn, e4)] = 100;
    rows.one[historyIndex(whitePawn, d4)] = 90;
    rows.two[historyIndex(whitePawn, d4)] = 11;
    rows.two[historyIndex(whiteKnight, c3)] = 101; // equal: the first generated stays in front
    bench->quietHistory[historyIndex(whitePawn, a3)] = -1;
    const texts picked = pickAll(bench);
    EXPECT_EQ(firstOf(picked, 3), (texts{"d2d4/9", "b1c3/9", "e2e4/9"}));
    EXPECT_EQ(picked.back(), "a2a3/9");

    const texts unsorted = pickAll(bench, true);
    EXPECT_EQ(unsorted.front(), "a2a3/9") << "in the order of generation when no longer sorted";
    EXPECT_EQ(std::set(unsorted.begin(), unsorted.end()), std::set(picked.begin(), picked.end()));
}

TEST(movePicker, hashMoveThatLeavesTheKingInCheckIsNotHandedOut)
{
    workbench bench("4r2k/8/8/8/8/8/4R3/4K3 w - - 0 1");
    bench.node().hashMove = encodeMove(e2, a2, plainMove, whiteRook);
    const texts picked = pickAll(bench);
    EXPECT_EQ(picked.front(), "e2e8/2");
    EXPECT_EQ(std::ranges::count(picked, "e2a2/9"), 0);
}

TEST(movePicker, evasionsGoByScoreAndLosingOnesLast)
{
    // The rook on e8 checks; the knight's block on e3 and those of the queen lose the exchange.
    workbench simple("k3r3/8/8/1B6/8/8/Q5N1/4K3 w - - 0 1");
    ASSERT_EQ(simple.node().inCheck, 1);
    const texts picked = pickAll(simple);
    ASSERT_EQ(picked.size(), 9U);
    EXPECT_EQ(firstOf(picked, 2), (texts{"b5e8/99", "b5e2/99"}));
    for (const std::size_t i : {2, 3, 4, 5})
        EXPECT_TRUE(picked[i].starts_with("e1")) << picked[i];
    EXPECT_EQ(picked[6], "g2e3/99");
    EXPECT_EQ(std::set(picked.begin() + 7, picked.end()), (std::set<std::string>{"a2e2/99", "a2e6/99"}));

    simple.node().hashMove = simple.move("e1f2");
    const texts withHash = pickAll(simple);
    EXPECT_EQ(firstOf(withHash, 2), (texts{"e1f2/1", "b5e8/99"}));
    EXPECT_EQ(withHash.size(), picked.size()) << "the table move is not repeated";
}

TEST(movePicker, oneThreadInFourWalksTheRootsCapturesUnsorted)
{
    // Generated with the pawn's capture first; by victim the queen on a8 comes first.
    workbench queen("q6k/7p/4p3/3p4/4P3/2N5/6P1/R5K1 w - - 0 1");
    for (const int thread : {0, 1, 2, 3, 4, 6, 7, 11})
    {
        queen->threadIndex = thread;
        EXPECT_EQ(pickAll(queen).front(), thread % 4 == 3 ? "e4d5/2" : "a1a8/2") << thread;
    }
}

TEST(movePicker, everyLegalMoveComesOnceWhateverIsRemembered)
{
    std::mt19937 random(5);
    std::vector<moveCode> pool{noMove};
    int nodes = 0;
    std::size_t hidden = 0;
    for (const bool chess960 : {false, true})
        playRandomGames(
            {.seed = 21, .games = isSanitized ? 2 : 8, .chess960 = chess960},
            [&](pos &root, const bruteForce::letterBoard &board)
            {
                static searchBoard owner;
                owner.adopt(root);
                pos &position = owner.position;
                posinfo &node = position.info[0];
                buildLegalList(0, node.listStart, position);
                std::vector<moveCode> legal(node.listStart, node.listEnd);
                for (const moveCode move : legal)
                    if (position.board[moveTo(move)] == emptySquare)
                        pool.push_back(withExtra(move, position.board[moveFrom(move)]));
                if (pool.size() > 300)
                    pool.erase(pool.begin(), pool.begin() + 100);

                const auto drawn = [&] { return pool[random() % pool.size()]; };
                for (moveCode &killer : node.killers) // quiet then, and to a square that is empty now as well
                    if (killer = drawn(); position.board[moveTo(killer)] != emptySquare)
                        killer = noMove;
                if (sameMove(node.killers[0], node.killers[1]))
                    node.killers[1] = noMove;
                node.hashMove = random() % 2 == 0 || legal.empty() ? drawn() : legal[random() % legal.size()];
                if (random() % 2 == 0 && node.hashMove != noMove)
                    node.hashMove = withExtra(node.hashMove, position.board[moveFrom(node.hashMove)]);

                std::vector<moveCode> expected;
                for (const moveCode move : legal)
                {
                    // A remembered move of another piece fails its test and hides the move of this one.
                    const moveCode own = withExtra(move, position.board[moveFrom(move)]);
                    const auto isForeign = [&](moveCode special) { return sameMove(special, own) && special != own; };
                    const bool isQuiet = position.board[moveTo(move)] == emptySquare && node.inCheck == 0;
                    if (!isForeign(node.hashMove) &&
                        !(isQuiet && (isForeign(node.killers[0]) || isForeign(node.killers[1]))))
                        expected.push_back(move & moveIdentityMask);
                }

                hidden += legal.size() - expected.size();
                std::vector<moveCode> found;
                prepareMovePicker(0, position);
                for (moveCode move = nextMove(0, position, false); move != noMove; move = nextMove(0, position, false))
                    if (node.stage == stageCaptureInit || node.inCheck != 0 || isMoveLegal(position, 0, move))
                        found.push_back(move & moveIdentityMask);
                std::ranges::sort(expected);
                std::ranges::sort(found);
                ASSERT_EQ(found, expected) << bruteForce::writeFen(board) << ' ' << node.hashMove << ' '
                                           << node.killers[0] << ' ' << node.killers[1];
                ++nodes;
            });
    EXPECT_GT(nodes, 300);
    EXPECT_GT(hidden, 10U);
}

TEST(probCutPicker, tableMoveFirstThenTheCapturesThatGainEnough)
{
    const auto made = [](workbench &bench, std::int16_t threshold)
    {
        texts moves;
        prepareProbCut(bench.ply, *bench);
        for (moveCode *slot = bench.node().listStart;; ++slot)
        {
            if (nextProbCutMove(bench.ply, slot, *bench, threshold))
            {
                const moveCode move = *slot;
                unmakeMove(*bench, bench.ply, move);
                moves.push_back(bench.text(move));
            }
            else if (slot >= bench.node().listEnd)
                return moves;
        }
    };
    workbench bench = captureBench();
    EXPECT_EQ(made(bench, 0), (texts{"e4d5", "a1a7"})); // as generated
    EXPECT_EQ(made(bench, -300), (texts{"e4d5", "c3d5", "a1a7"}));
    EXPECT_EQ(made(bench, 89), texts{});
    bench.node().hashMove = bench.move("a1a7");
    EXPECT_EQ(made(bench, 0), (texts{"a1a7", "e4d5"}));
    bench.node().hashMove = bench.move("a1a2"); // quiet: declined, the captures come behind it
    EXPECT_EQ(made(bench, 0), (texts{"e4d5", "a1a7"}));
    bench.node().hashMove = bench.move("c3d5"); // loses: declined, and not asked again
    EXPECT_EQ(made(bench, 0), (texts{"e4d5", "a1a7"}));
}

} // namespace
} // namespace tarvonel
