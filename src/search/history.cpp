#include "search/history.h"

#include "search/movePicker.h"

namespace tarvonel
{

namespace
{

constexpr int historyLimit = 8192;
constexpr int bonusScale = 32;
constexpr int maxSquaredDepth = 324;
constexpr int firstDepthNotLearnt = 19; // so deep a cut-off says too little about other positions

/// The tables that one move is judged by, and what a cut-off is worth.
struct lesson
{
    pos &position;
    continuationRows rows;
    int bonus;

    static void reward(std::int16_t &value, int amount)
    {
        value = static_cast<std::int16_t>(value + amount - value * amount / historyLimit);
    }
    void penalise(std::int16_t &value) const
    {
        value = static_cast<std::int16_t>(value - value * bonus / historyLimit - bonus);
    }
    void penaliseMove(moveCode move) const
    {
        const int index = historyIndexOf(position, move);
        penalise(position.quietHistory[index]);
        if (rows.two != nullptr)
            penalise(rows.two[index]);
        if (rows.one != nullptr)
            penalise(rows.one[index]);
    }
    void penaliseRange(const moveCode *first, const moveCode *last) const
    {
        for (; first < last; ++first)
            penaliseMove(*first);
    }
};

void rewardBest(const lesson &learnt, int ply, moveCode bestMove)
{
    pos &position = learnt.position;
    const int index = historyIndexOf(position, bestMove);
    if (learnt.rows.two != nullptr)
        lesson::reward(learnt.rows.two[index], learnt.bonus);
    if (learnt.rows.one != nullptr)
    {
        const moveCode previous = position.info[ply - 1].playedMove;
        position.counterMoves[historyIndex(moveExtra(previous), moveTo(previous))] = bestMove;
        lesson::reward(learnt.rows.one[index], learnt.bonus);
    }
    lesson::reward(position.quietHistory[index], learnt.bonus);
}

void penaliseTried(const lesson &learnt, int ply, moveCode bestMove)
{
    const pos &position = learnt.position;
    const posinfo &node = position.info[ply];
    const moveCode tableMove = node.hashMove;
    if (tableMove != noMove && !sameMove(tableMove, bestMove) && position.board[moveTo(tableMove)] == emptySquare &&
        position.board[moveFrom(tableMove)] != emptySquare)
        learnt.penaliseMove(tableMove);

    if (node.stage == stageCaptureInit) // the table move itself cut off
        return;
    if (node.stage == stageQuiets)
    {
        learnt.penaliseRange(node.captureEnd, node.quietStart);
        learnt.penaliseRange(node.quietStart, node.listCursor);
    }
    else
        learnt.penaliseRange(node.captureEnd, node.listCursor);
}

void rememberKiller(posinfo &node, moveCode bestMove)
{
    if (sameMove(bestMove, node.killers[0]))
        return;
    node.killers[1] = node.killers[0];
    node.killers[0] = bestMove;
}

} // namespace

void updateHistories(int ply, pos &position, moveCode bestMove, int depth)
{
    if (depth < firstDepthNotLearnt)
    {
        const lesson learnt{position, continuationOf(ply, position),
                            bonusScale * std::min(depth * depth, maxSquaredDepth)};
        rewardBest(learnt, ply, bestMove);
        penaliseTried(learnt, ply, bestMove);
    }
    rememberKiller(position.info[ply], bestMove);
}

} // namespace tarvonel
