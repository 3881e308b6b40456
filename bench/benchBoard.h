// A position with a move stack and tables of its own, as a worker has them, for the timings.
#pragma once

#include <cstdint>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <vector>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/pos.h"
#include "board/setup.h"
#include "eval/accumulator.h"
#include "eval/evaluate.h"
#include "eval/pawnEvaluation.h"
#include "movegen/moveChecks.h"
#include "uci/benchPositions.h"

namespace tarvonel
{

struct benchBoard
{
    std::unique_ptr<pos> record = std::make_unique<pos>();
    std::vector<moveCode> moveStack = std::vector<moveCode>(moveStackSize);
    std::vector<pawnEntry> pawnTable = std::vector<pawnEntry>(pawnTableSize);
    std::vector<accumulatorCacheEntry> accumulatorCache = std::vector<accumulatorCacheEntry>(accumulatorCacheSize);
    std::vector<evalCacheEntry> evalCache = std::vector<evalCacheEntry>(evalCacheSize);

    /// Ends the program if the text is no position: a list of the benchmark's own is then wrong.
    explicit benchBoard(const benchPosition &entry)
    {
        engineOptions.chess960 = entry.chess960;
        record->info[0].listStart = moveStack.data();
        record->pawnTable = pawnTable.data();
        record->evalCache = evalCache.data();
        record->accumulatorCache = accumulatorCache.data();
        if (const std::string complaint = setupPosition(entry.fen, *record); !complaint.empty())
        {
            std::cerr << entry.fen << ": " << complaint << '\n';
            std::exit(EXIT_FAILURE);
        }
        record->info[0].inCheck = isKingAttacked(*record, record->sideToMove) ? 1 : 0;
    }

    pos &operator*() { return *record; }

    std::vector<moveCode> legalMoves()
    {
        buildLegalList(0, moveStack.data(), *record);
        return {record->info[0].listStart, record->info[0].listEnd};
    }
};

/// All of the list, set up.
inline std::vector<benchBoard> allBenchBoards()
{
    std::vector<benchBoard> boards;
    for (const benchPosition &entry : benchPositions)
        boards.emplace_back(entry);
    return boards;
}

} // namespace tarvonel
