// The engine's search as self-play uses it: in the same process, within a budget of nodes.
//
// The search's table, flags and limits are the process's own, so there is one of these searches in
// a process. Nothing here looks at the clock.
#pragma once

#include <cstdint>

#include "movegen/gameBoard.h"
#include "movegen/randomOpening.h"

namespace tarvonel
{

struct nodeBudget
{
    std::uint64_t soft = 1500;  ///< no further iteration begins beyond
    std::uint64_t hard = 10000; ///< the search is cut off
};

struct searchedMove
{
    moveCode move = noMove;
    int score = 0; ///< of the last whole iteration, from the side to move's view
    int depth = 0; ///< of that iteration
    std::uint64_t nodes = 0;
};

/// Prepares the process: table of `hashMegabytes`, one worker. Before any search.
void startSelfSearch(int hashMegabytes);
void endSelfSearch();

/// Forgets what was learnt in earlier games.
void forgetSearches();

/// The best move of a position that has legal moves.
searchedMove searchMove(const pos &start, const nodeBudget &budget);

/// The value of the position with all captures played out, and the static evaluation that it
/// starts from. The side to move must not be in check.
struct quietValue
{
    int value;
    int standPat;
};
quietValue quiescenceValue(gameBoard &board);

/// A move chosen quickly and not too badly: the best of all captures and `tries` legal moves drawn
/// by chance, by the quiescence value after them.
moveCode sampledMove(gameBoard &board, const std::vector<moveCode> &moves, int tries, randomSource &random);

} // namespace tarvonel
