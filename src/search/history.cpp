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

    void reward(moveCode move) const
    {
        teach(move, [this](int value) { return value + bonus - value * bonus / historyLimit; });
    }
    void penalise(moveCode move) const
    {
        teach(move, [this](int value) { return value - bonus - value * bonus / historyLimit; });
    }

  private:
    template <typename rule> void teach(moveCode move, rule changed) const
    {
        const int index = historyIndexOf(position, move);
        for (std::int16_t *const row : {position.quietHistory, rows.two, rows.one})
            if (row != nullptr)
                row[index] = static_cast<std::int16_t>(changed(row[index]));
    }
};

void rewardBest(const lesson &learnt, int ply, moveCode bestMove)
{
    pos &position = learnt.position;
    learnt.reward(bestMove);
    if (learnt.rows.one != nullptr)
    {
        const moveCode previous = position.info[ply - 1].playedMove;
        position.counterMoves[historyIndex(moveExtra(previous), moveTo(previous))] = bestMove;
    }
}

void penaliseTried(const lesson &learnt, int ply, moveCode bestMove)
{
    const pos &position = learnt.position;
    const posinfo &node = position.info[ply];
    const moveCode tableMove = node.hashMove;
    if (tableMove != noMove && !sameMove(tableMove, bestMove) && position.board[moveTo(tableMove)] == emptySquare &&
        position.board[moveFrom(tableMove)] != emptySquare)
        learnt.penalise(tableMove);

    // Behind the captures lie killers, counter move and quiet moves as they were tried.
    if (node.stage != stageCaptureInit) // or the table move itself cut off
        for (const moveCode *move = node.captureEnd; move < node.listCursor; ++move)
            learnt.penalise(*move);
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
        ++position.historyUpdates;
    }
    rememberKiller(position.info[ply], bestMove);
}

} // namespace tarvonel
