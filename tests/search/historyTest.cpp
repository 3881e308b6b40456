#include "search/history.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "search/movePicker.h"
#include "search/searchSupport.h"

namespace tarvonel
{
namespace
{

/// A node two plies into a game, its picker moved on until `best` is being searched.
struct learningNode
{
    workbench bench{startPositionFen};
    continuationRows rows;
    moveCode best = noMove;

    learningNode()
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
    void learn(int depth) { updateHistories(bench.ply, *bench, best, depth); }
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

TEST(history, cutOffRewardsTheBestMoveAndPenalisesThoseBefore)
{
    learningNode node;
    node.searchUpTo("c2c3"); // pawn moves come by their destination: a3 and b3 before it, d3 behind
    node.learn(10);
    node.expectAll(whitePawn, c3, 3200);
    node.expectAll(whitePawn, a3, -3200);
    node.expectAll(whitePawn, b3, -3200);
    node.expectAll(whitePawn, d3, 0);
    EXPECT_TRUE(sameMove(node.counterMove(), node.best));
    EXPECT_EQ(moveExtra(node.counterMove()), whitePawn);
    EXPECT_EQ(node.bench.node().killers[0], node.best);

    node.searchUpTo("c2c3"); // the killer's turn, before any quiet move
    EXPECT_EQ(node.bench.node().stage, stageKiller2);
    node.learn(10);
    node.expectAll(whitePawn, c3, 3200 + 3200 - 3200 * 3200 / 8192);
    node.expectAll(whitePawn, a3, -3200);
    EXPECT_EQ(node.bench.node().killers[1], noMove) << "a killer is not remembered twice";
}

TEST(history, valuesMoveTowardsTheirLimits)
{
    const struct
    {
        int depth, before, rewarded, penalised;
    } cases[] = {
        {1, 0, 32, -32},           {10, 8192, 8192, 1792}, {3, 8192, 8192, 7616},   {18, 8192, 8192, -12544},
        {10, -8192, -1792, -8192}, {16, 100, 8192, -8192}, {2, -1000, -857, -1113},
    };
    for (const auto &c : cases)
    {
        learningNode node;
        for (const int to : {a3, b3})
        {
            const int index = historyIndex(whitePawn, to);
            node.bench->quietHistory[index] = static_cast<std::int16_t>(c.before);
            node.rows.one[index] = node.rows.two[index] = static_cast<std::int16_t>(c.before);
        }
        node.searchUpTo("b2b3");
        node.learn(c.depth);
        node.expectAll(whitePawn, b3, c.rewarded);
        node.expectAll(whitePawn, a3, c.penalised);
    }
}

TEST(history, movesTriedBeforeTheBestArePenalised)
{
    constexpr int depthTwo = 128; // what it teaches
    const struct
    {
        const char *reason, *best, *hashMove, *killers[2];
        int stage;
        std::vector<int> penalised, untouched; ///< squares that only pawns go to
    } cases[] = {
        {"all stages", "a2a4", "h2h3", {"g2g3", "e2e3"}, stageQuiets, {h3, g3, e3, a3}, {}},
        {"second killer: the first, no quiet move", "a2a4", nullptr, {"g2g3", "a2a4"}, stageCounterMove, {g3}, {a3}},
        {"table move: nothing", "a2a4", "a2a4", {"g2g3", nullptr}, stageCaptureInit, {}, {g3, a3}},
    };
    for (const auto &c : cases)
    {
        learningNode node;
        const auto moveOf = [&](const char *text) { return text == nullptr ? noMove : node.bench.move(text); };
        posinfo &info = node.bench.node();
        info.hashMove = moveOf(c.hashMove);
        info.killers[0] = moveOf(c.killers[0]);
        info.killers[1] = moveOf(c.killers[1]);
        node.searchUpTo(c.best);
        EXPECT_EQ(info.stage, c.stage) << c.reason;
        node.learn(2);
        node.expectAll(whitePawn, a4, depthTwo);
        for (const int to : c.penalised)
            node.expectAll(whitePawn, to, -depthTwo);
        for (const int to : c.untouched)
            node.expectAll(whitePawn, to, 0);
        EXPECT_TRUE(sameMove(info.killers[0], node.best)) << c.reason;
        EXPECT_EQ(moveTo(info.killers[1]), g3) << c.reason;
    }
}

TEST(history, veryDeepCutOffsTeachTheKillersAlone)
{
    learningNode node;
    node.searchUpTo("b2b3");
    node.learn(19);
    node.expectAll(whitePawn, b3, 0);
    node.expectAll(whitePawn, a3, 0);
    EXPECT_EQ(node.counterMove(), noMove);
    EXPECT_EQ(node.bench.node().killers[0], node.best);
}

TEST(history, nothingIsLearntAboutRepliesToANullMove)
{
    workbench bench(startPositionFen);
    bench.play("g1f3");
    bench.pass();
    const moveCode best = bench.move("d2d3");
    bench.node().stage = stageCaptureInit;
    bench.node().hashMove = best;
    updateHistories(bench.ply, *bench, best, 4);
    const continuationRows rows = continuationOf(bench.ply, *bench);
    EXPECT_EQ(rows.one, nullptr);
    const int index = historyIndex(whitePawn, d3);
    ASSERT_NE(rows.two, nullptr);
    EXPECT_EQ(rows.two[index], 512);
    EXPECT_EQ(bench->quietHistory[index], 512);
    for (const moveCode counter : bench->counterMoves)
        ASSERT_EQ(counter, noMove);
    EXPECT_EQ(historySum(*bench, rows, index), 1024);
}

} // namespace
} // namespace tarvonel
