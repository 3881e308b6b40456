// The choice of the move to try next. Most nodes end after a few moves, so the best of the rest is
// looked for each time and nothing is ever sorted.
#pragma once

#include <utility>

#include "board/moveCode.h"

namespace tarvonel
{

/// Swaps the move with the highest score to the front of a list that is not empty, the first of
/// equals. A better move takes the lead only if `mayLead` agrees; the one that stands at the front
/// is not asked. Returns whether another move came to the front.
template <typename scoring, typename admission>
bool bestToFront(moveCode *front, const moveCode *end, scoring scoreOf, admission mayLead)
{
    moveCode *best = front;
    int bestScore = scoreOf(*front);
    for (moveCode *move = front + 1; move < end; ++move)
        if (const int score = scoreOf(*move); score > bestScore && mayLead(*move))
        {
            best = move;
            bestScore = score;
        }
    std::swap(*best, *front);
    return best != front;
}

template <typename scoring> void bestToFront(moveCode *front, const moveCode *end, scoring scoreOf)
{
    bestToFront(front, end, scoreOf, [](moveCode) { return true; });
}

/// By the order that the generators wrote into the extra byte.
inline void highestToFront(moveCode *front, const moveCode *end)
{
    bestToFront(front, end, [](moveCode move) { return moveExtra(move); });
}

} // namespace tarvonel
