#include "search/history.h"

#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "search/movePicker.h"
#include "search/searchSupport.h"

namespace tarvonel
{
namespace
{

/// A node two plies into a game, its picker moved on until `best` is being searched.
struct historyNode
{
    workbench bench{startPositionFen};
    continuationRows rows;
    moveCode best = noMove;

    historyNode()
    {
        bench.play("g1f3");
        bench.play("g8f6");
        rows = continuationOf(bench.ply, *bench);
        posinfo &node = bench.node();
        node.hashMove = node.killers[0] = node.killers[1] = node.nodeCounterMove = noMove;
    }
    void searchUpTo(const std::string &text)
    {
        best = bench.move(text);
        prepareMovePicker(bench.ply, *bench);
        for (moveCode move = nextMove(bench.ply, *bench, true); !sameMove(move, best);
             move = nextMove(bench.ply, *bench, true))
            ASSERT_NE(move, noMove);
    }
    void update(int depth) { updateHistories(bench.ply, *bench, best, depth); }
    moveCode counterMove()
    {
        const moveCode previous = bench.node(bench.ply - 1).playedMove;
        return bench->counterMoves[historyIndex(moveExtra(previous), moveTo(previous))];
    }
    /// All three tables hold that value for the move.
    void expectAll(int code, int to, int value)
    {
        EXPECT_EQ(bench->quietHistory[historyIndex(code, to)], value);
        EXPECT_EQ(rows.one[historyIndex(code, to)], value);
        EXPECT_EQ(rows.two[historyIndex(code, to)], value);
    }
};

TEST(history, cutoffGivesABonusToTheBestMoveAndAMalusToThoseBefore)
{
    historyNode node;
    node.searchUpTo("c2c3"); // pawn moves come by their destination: a3 and b3 before it, d3 after it
    node.update(10);
    node.expectAll(whitePawn, c3, 3200);
    node.expectAll(whitePawn, a3, -3200);
    node.expectAll(whitePawn, b3, -3200);
    node.expectAll(whitePawn, d3, 0);
    EXPECT_TRUE(sameMove(node.counterMove(), node.best));
    EXPECT_EQ(moveExtra(node.counterMove()), whitePawn);
    EXPECT_EQ(node.bench.node().killers[0], node.best);

    node.searchUpTo("c2c3"); // the killer's turn, before any quiet move
    EXPECT_EQ(node.bench.node().stage, stageKiller2);
    node.update(10);
    node.expectAll(whitePawn, c3, 3200 + 3200 - 3200 * 3200 / 8192);
    node.expectAll(whitePawn, a3, -3200);
    EXPECT_EQ(node.bench.node().killers[1], noMove) << "a killer is not remembered twice";
}

// Deeper than the searches whose nodes are compared.
TEST(history, veryDeepCutoffsUpdateOnlyTheKillers)
{
    historyNode node;
    node.searchUpTo("b2b3");
    node.update(19);
    node.expectAll(whitePawn, b3, 0);
    node.expectAll(whitePawn, a3, 0);
    EXPECT_EQ(node.counterMove(), noMove);
    EXPECT_EQ(node.bench.node().killers[0], node.best);
}

} // namespace
} // namespace tarvonel
