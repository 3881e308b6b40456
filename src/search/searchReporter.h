// What a search announces, as a record of callbacks that its user installs: the console's prints
// UCI lines, a test's records. The search itself writes nothing to standard output.
//
// Threads: all calls come from the thread of the `boss`, one at a time.
#pragma once

#include <cstdint>

#include "board/pos.h"

namespace tarvonel
{

struct searchReporter
{
    /// An iteration ended: the variation stands in the pvMove chain of `position` up to pvLast.
    void (*iterationDone)(const pos &position, int score, int depth, int selDepth) = nullptr;
    /// The score of the last iteration is a mate that its depth has proved.
    void (*mateFound)(const pos &position, int score, int depth) = nullptr;
    /// The side to move at the root is mated.
    void (*matedAtRoot)() = nullptr;
    /// The endgame tables settled the move at the root.
    void (*tableMove)(const pos &position, int score, moveCode move) = nullptr;
    /// The answer: the best move and the expected reply (or 0) of the chosen thread. `rooks` is the
    /// position whose castling rooks the text of the moves refers to.
    void (*answer)(moveCode best, moveCode ponder, colour side, const pos &rooks) = nullptr;
};

/// The reporter in force. Change it only while no search runs; empty slots are skipped.
extern searchReporter reporter;

/// Alpha-beta and quiescence nodes of one thread.
inline std::uint64_t nodesOf(const pos &position) { return position.searchNodes + position.quiescenceNodes; }

/// Figures over all workers, as reports print them. Counters of running workers may lag.
struct searchTotals
{
    std::uint64_t nodes = 0; ///< alpha-beta and quiescence nodes
    std::uint64_t tablebaseHits = 0;
    std::uint64_t elapsedMs = 0; ///< at least 1; raises searchLimits.elapsedMs from 0
    std::uint64_t nodesPerSecond = 0;
};
searchTotals sumUpSearch();

} // namespace tarvonel
