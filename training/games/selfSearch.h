// The engine's search in a training program: made ready and forgotten, and a quick choice of moves
// without it.
//
// The search's table, flags and limits are the process's own, so there is one search in a process.
#pragma once

#include <vector>

#include "movegen/gameRules.h"
#include "movegen/randomOpening.h"

namespace tarvonel
{

/// Prepares the process: table of `hashMegabytes`, one worker. Before any search.
void startSelfSearch(int hashMegabytes);
void endSelfSearch();

/// Forgets what was learnt in earlier games.
void forgetSearches();

/// The value of the position with all captures played out, and the static evaluation that it
/// starts from. The side to move must not be in check.
struct quietValue
{
    int value;
    int standPat;
};
quietValue quiescenceValue(posWithMoves &board);

/// A move chosen quickly and not too badly: the best of all captures and `tries` legal moves drawn
/// by chance, by the quiescence value after them.
moveCode sampledMove(posWithMoves &board, const std::vector<moveCode> &moves, int tries, randomSource &random);

} // namespace tarvonel
