// What the search of one thread works on: position, move stack and tables.
#pragma once

#include <algorithm>

#include "board/pos.h"
#include "eval/evaluate.h"

namespace tarvonel
{

/// What a thread keeps from one search to the next.
struct searchTables : evaluationTables
{
    /// Makes searches of the position use these tables, which must outlive them.
    void attachTo(pos &position)
    {
        evaluationTables::attachTo(position);
        position.contHistoryTwoBack = contHistoryTwoBack;
        position.contHistoryOneBack = contHistoryOneBack;
        position.quietScores = quietScores;
    }

    /// Clears the continuation histories.
    void clearHistory()
    {
        for (auto *history : {&contHistoryTwoBack, &contHistoryOneBack})
            for (auto &row : *history)
                std::ranges::fill(row, std::int16_t{0});
    }

    std::int16_t contHistoryTwoBack[historyRows][historyRows]{};
    std::int16_t contHistoryOneBack[historyRows][historyRows]{};
    std::int32_t quietScores[moveStackCapacity]{}; ///< the move picker's scores, parallel to the move stack
};

struct searchBoard : posWithMoves
{
    searchBoard() { tables.attachTo(position); }

    /// Copies what is valid of a position at ply 0, without its tables. The deeper plies and the
    /// accumulators, most of the record, are written by a search before it reads them.
    void adopt(const pos &root)
    {
        static_cast<posHead &>(position) = root;
        position.accumulatorBlocks[0].computed = false;
        position.info[0] = root.info[0];
        position.info[0].listStart = firstMove();
        std::copy_n(root.keyHistory, root.keyCount, position.keyHistory);
        std::ranges::copy(root.quietHistory, position.quietHistory);
        std::ranges::copy(root.counterMoves, position.counterMoves);
        tables.attachTo(position);
    }

    searchTables tables;
};

} // namespace tarvonel
