// Statistics about quiet moves: killers, counter moves, the quiet history, and two continuation
// histories, indexed by the previous move and by the move two plies back.
//
// The updates keep history values within about -8192 to 8192 ("history gravity"). Quiet history and
// counter moves last for one search; the continuation histories belong to the worker and last until
// `ucinewgame`.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

using historyRow = std::int16_t *;

/// Index of a piece and its to-square in the history tables.
constexpr int historyIndex(int code, int to) { return (code - firstPieceCode) * squareCount + to; }

/// The rows of the continuation histories for a node; null where there is no such earlier move.
struct continuationRows
{
    historyRow one = nullptr; ///< by the previous move
    historyRow two = nullptr; ///< by the move two plies back
};

inline historyRow rowOf(std::int16_t (*table)[historyRows], moveCode playedMove)
{
    return playedMove == noMove ? nullptr : table[historyIndex(moveExtra(playedMove), moveTo(playedMove))];
}

inline continuationRows continuationOf(int ply, const pos &position)
{
    continuationRows rows;
    if (ply >= 1)
        rows.one = rowOf(position.contHistoryOneBack, position.info[ply - 1].playedMove);
    if (ply >= 2)
        rows.two = rowOf(position.contHistoryTwoBack, position.info[ply - 2].playedMove);
    return rows;
}

/// The sum of the three histories at an index; a missing row counts 0.
inline int historySum(const pos &position, continuationRows rows, int index)
{
    int sum = position.quietHistory[index];
    if (rows.two != nullptr)
        sum += rows.two[index];
    if (rows.one != nullptr)
        sum += rows.one[index];
    return sum;
}

/// Index of a move not yet made.
inline int historyIndexOf(const pos &position, moveCode move)
{
    return historyIndex(position.board[moveFrom(move)], moveTo(move));
}

/// After a beta cutoff by the quiet move `bestMove` at a node not in check: gives it a history bonus,
/// and a malus to the quiet moves tried before it, the hash move, killers and counter move included.
/// Updates killers and counter move.
void updateHistories(int ply, pos &position, moveCode bestMove, int depth);

} // namespace tarvonel
