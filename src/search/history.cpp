#include "search/history.h"

#include <algorithm>

#include "search/movePicker.h"

namespace tarvonel
{

namespace
{

constexpr int historyLimit = 8192;
constexpr int bonusScale = 32;
constexpr int maxSquaredDepth = 324;
constexpr int maxUpdateDepth = 18; // cutoffs at higher depths say little about other nodes

/// The three tables to update at a node, and the size of bonus and malus.
struct historyUpdate
{
    pos &position;
    continuationRows rows;
    int bonus;

    /// `amount` is `bonus` or -`bonus`.
    void add(moveCode move, int amount) const
    {
        const int index = historyIndexOf(position, move);
        for (std::int16_t *const row : {position.quietHistory, rows.two, rows.one})
            if (row != nullptr)
                row[index] = static_cast<std::int16_t>(row[index] + amount - row[index] * bonus / historyLimit);
    }
};

void rewardBestMove(const historyUpdate &update, int ply, moveCode bestMove)
{
    pos &position = update.position;
    update.add(bestMove, update.bonus);
    if (update.rows.one != nullptr)
    {
        const moveCode previous = position.info[ply - 1].playedMove;
        position.counterMoves[historyIndex(moveExtra(previous), moveTo(previous))] = bestMove;
    }
}

void penaliseTriedMoves(const historyUpdate &update, int ply, moveCode bestMove)
{
    const pos &position = update.position;
    const posinfo &node = position.info[ply];
    const moveCode hashMove = node.hashMove;
    if (hashMove != noMove && !sameMove(hashMove, bestMove) && position.board[moveTo(hashMove)] == emptySquare &&
        position.board[moveFrom(hashMove)] != emptySquare)
        update.add(hashMove, -update.bonus);

    // Killers, counter move and the quiet moves tried follow the captures in the list. It is empty if the
    // hash move caused the cutoff.
    if (node.stage != stageCaptureInit)
        for (const moveCode *move = node.captureEnd; move < node.listCursor; ++move)
            update.add(*move, -update.bonus);
}

void updateKillers(posinfo &node, moveCode bestMove)
{
    if (sameMove(bestMove, node.killers[0]))
        return;
    node.killers[1] = node.killers[0];
    node.killers[0] = bestMove;
}

} // namespace

void updateHistories(int ply, pos &position, moveCode bestMove, int depth)
{
    if (depth <= maxUpdateDepth)
    {
        const historyUpdate update{position, continuationOf(ply, position),
                                   bonusScale * std::min(depth * depth, maxSquaredDepth)};
        rewardBestMove(update, ply, bestMove);
        penaliseTriedMoves(update, ply, bestMove);
        ++position.historyUpdates;
    }
    updateKillers(position.info[ply], bestMove);
}

} // namespace tarvonel
