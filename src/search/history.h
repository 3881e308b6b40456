// What a search learns about quiet moves: killers, counter moves, the quiet history and two
// continuation histories, read through the previous move and through the move two plies back.
//
// All history values stay within about -8192 to 8192 by their update rule. Quiet history and
// counter moves live for one search; the continuation histories belong to the worker and survive.
#pragma once

#include <algorithm>
#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

using historyRow = std::int16_t *;

/// Row or column of a piece and its destination in the continuation tables.
constexpr int historyIndex(int code, int to) { return (code - firstPieceCode) * squareCount + to; }

/// The rows of the continuation tables that a node reads; null at the root and after a null move.
struct continuationRows
{
    historyRow one = nullptr; ///< through the previous move
    historyRow two = nullptr; ///< through the move two plies back
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

/// The three histories of a move not yet made, added up; an absent row counts 0.
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

/// Learns from a beta cut-off by the quiet move `bestMove` at a node not in check: rewards it,
/// penalises the table move, killers, counter move and quiet moves that were tried before it.
void updateHistories(int ply, pos &position, moveCode bestMove, int depth);

} // namespace tarvonel
