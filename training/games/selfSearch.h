// What self-play asks of the search in addition to `runSearch`. The process holds one
// `searchResources` with one worker.
#pragma once

#include <vector>

#include "movegen/gameRules.h"
#include "search/searchLimits.h"
#include "uci/randomOpening.h"

namespace tarvonel
{

/// Clears the transposition table and the histories for a new game.
void forgetSearches();

/// The quiescence value of a position, and the static evaluation that it starts from. The side to
/// move must not be in check. Like `runSearch` it works on the worker's copy: counters and accumulators
/// left in the game's own record would go into the next search.
struct quietValue
{
    int value;
    int standPat;
};
quietValue quiescenceValue(const pos &root);

/// Searches `root` and returns the principal variation; empty if no iteration was finished.
std::vector<moveCode> principalVariation(const pos &root, const searchLimitValues &limits);

/// The best, by the quiescence value after it, of all captures and `tries` random legal moves.
moveCode sampledMove(const pos &root, const std::vector<moveCode> &moves, int tries, randomSource &random);

} // namespace tarvonel
