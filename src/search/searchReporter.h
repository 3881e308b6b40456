// Callbacks for the results of a search. The UCI loop installs some that print lines; the search itself
// writes nothing to standard output.
//
// Threads: called only by the thread of the `boss`.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

struct searchReporter
{
    /// An iteration has ended. The variation is in the pvMove chain of `position` up to pvLast.
    void (*iterationDone)(const pos &position, int score, int depth, int selDepth) = [](const pos &, int, int, int) {};
    /// The score of the last iteration is a mate that its depth has proved.
    void (*mateFound)(const pos &position, int score, int depth) = [](const pos &, int, int) {};
    /// The side to move at the root is mated.
    void (*matedAtRoot)() = [] {};
    /// The move at the root comes from the tablebases.
    void (*rootTbMove)(const pos &position, int score, moveCode move) = [](const pos &, int, moveCode) {};
    /// The best move and the expected reply (or 0). `rooks` is a position with the castling rooks for the
    /// text of the moves.
    void (*answer)(moveCode best, moveCode ponder, colour side, const pos &rooks) = [](moveCode, moveCode, colour,
                                                                                       const pos &) {};
};

/// The current reporter, initially silent. Change it only while no search runs.
inline searchReporter reporter;

} // namespace tarvonel
