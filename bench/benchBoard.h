// A position with a move stack and tables of its own, as a worker has them, for the timings.
#pragma once

#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "movegen/legality.h"
#include "search/worker.h"
#include "uci/benchPositions.h"

namespace tarvonel
{

struct benchBoard
{
    /// Ends the program if the text is no position: a list of the benchmark's own is then wrong.
    explicit benchBoard(const benchPosition &entry) : chess960(entry.chess960)
    {
        engineOptions.chess960 = chess960;
        if (const std::string complaint = setupPosition(entry.fen, **this); !complaint.empty())
        {
            std::cerr << entry.fen << ": " << complaint << '\n';
            std::exit(EXIT_FAILURE);
        }
        buildLegalList(0, record->firstMove(), **this);
        legalMoves.assign(record->firstMove(), (*this)->info[0].listEnd);
    }

    pos &operator*() { return record->position; }
    pos *operator->() { return &record->position; }

    std::unique_ptr<searchBoard> record = std::make_unique<searchBoard>();
    std::vector<moveCode> legalMoves;
    bool chess960;
};

/// All of the list, set up.
inline std::vector<benchBoard> allBenchBoards()
{
    std::vector<benchBoard> boards;
    for (const benchPosition &entry : benchPositions)
        boards.emplace_back(entry);
    return boards;
}

/// Calls `visit(position, move)` for every legal move of every position; gives their number.
template <typename visitor> std::int64_t forEachMove(std::vector<benchBoard> &boards, visitor visit)
{
    std::int64_t visited = 0;
    for (benchBoard &board : boards)
    {
        engineOptions.chess960 = board.chess960;
        for (const moveCode move : board.legalMoves)
            visit(*board, move);
        visited += static_cast<std::int64_t>(board.legalMoves.size());
    }
    return visited;
}

} // namespace tarvonel
