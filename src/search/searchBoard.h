// Everything that one thread's search works on: its position, its move stack and its tables.
#pragma once

#include <algorithm>

#include "board/pos.h"
#include "eval/evaluate.h"

namespace tarvonel
{

/// What lasts from one search of a thread to its next. Large: lives in the thread's own block.
struct searchTables : evaluationTables
{
    /// Lets searches of the position work in these tables, for as long as they live.
    void attachTo(pos &position)
    {
        evaluationTables::attachTo(position);
        position.contHistoryTwoBack = contHistoryTwoBack;
        position.contHistoryOneBack = contHistoryOneBack;
        position.quietScores = quietScores;
    }

    /// Forgets the continuation histories.
    void clearHistory()
    {
        for (auto *history : {&contHistoryTwoBack, &contHistoryOneBack})
            for (auto &row : *history)
                std::ranges::fill(row, std::int16_t{0});
    }

    std::int16_t contHistoryTwoBack[historyRows][historyRows]{};
    std::int16_t contHistoryOneBack[historyRows][historyRows]{};
    std::int32_t quietScores[moveStackCapacity]{}; ///< the move picker's, of the lists on the path
};

struct searchBoard : posWithMoves
{
    searchBoard() { tables.attachTo(position); }

    /// Takes over the whole of `root`, but for its move stack and tables.
    void adopt(const pos &root)
    {
        posWithMoves::adopt(root);
        tables.attachTo(position);
    }

    searchTables tables;
};

} // namespace tarvonel
