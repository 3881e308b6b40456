// What a search reports, as a record of callbacks that its user installs: the console's print UCI
// lines, a test's record. The search itself writes nothing to standard output.
//
// Threads: all calls come from the thread of the `boss`, one at a time.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

struct searchReporter
{
    /// An iteration ended: the variation is in the pvMove chain of `position` up to pvLast.
    void (*iterationDone)(const pos &position, int score, int depth, int selDepth) = [](const pos &, int, int, int) {};
    /// The score of the last iteration is a mate that its depth has proved.
    void (*mateFound)(const pos &position, int score, int depth) = [](const pos &, int, int) {};
    /// The side to move at the root is mated.
    void (*matedAtRoot)() = [] {};
    /// The tablebases gave the move at the root.
    void (*tableMove)(const pos &position, int score, moveCode move) = [](const pos &, int, moveCode) {};
    /// The answer: the best move and the expected reply (or 0) of the chosen thread. `rooks` is the
    /// position whose castling rooks the text of the moves refers to.
    void (*answer)(moveCode best, moveCode ponder, colour side, const pos &rooks) = [](moveCode, moveCode, colour,
                                                                                       const pos &) {};
};

/// The reporter in force; silent at first. Change it only while no search runs.
inline searchReporter reporter;

} // namespace tarvonel
