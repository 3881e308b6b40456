// Move ordering: the staged move picker of the main search. It generates and scores moves as late as
// possible, so that an early cutoff saves the rest.
//
// The list of a ply in the move stack: captures from listStart to captureEnd, then killers and counter
// move as they are tried, then quiet moves from quietStart on.
#pragma once

#include <utility>

#include "board/pos.h"
#include "movegen/generators.h"

namespace tarvonel
{

/// The `stage` of a ply determines what the next call does. While a move is being searched it also shows
/// where the move came from.
enum pickerStage : std::uint8_t
{
    stageHashMove = 0,
    stageCaptureInit = 1, ///< the hash move is being searched
    stageGoodCaptures = 2,
    stageKiller1 = 3,
    stageKiller2 = 4,        ///< the first killer is being searched
    stageCounterMove = 5,    ///< the second killer is being searched
    stageBadCaptureInit = 6, ///< the counter move is being searched
    stageBadCaptures = 7,
    stageQuietInit = 8,
    stageQuiets = 9,
    stageEvasions = evasionStage,
};

/// Empties the list of the ply and validates its `hashMove`, which comes first if it is playable.
void prepareMovePicker(int ply, pos &position);

/// The next move to try, or `noMove`. With `skipQuiets`, quiet moves are no longer sorted.
moveCode nextMove(int ply, pos &position, bool skipQuiets);

/// Empties the list of the ply. The picker starts over at its current stage.
void restartMoveList(int ply, pos &position);

/// `prepareMovePicker` for ProbCut, where the hash move is an element of the list.
void prepareProbCut(int ply, pos &position);

/// Tests the move in `slot` for ProbCut. Makes it and returns true if it is legal and gains at least
/// `threshold`. Generates the captures when their stage is reached.
bool nextProbCutMove(int ply, moveCode *slot, pos &position, std::int16_t threshold);

/// A step of selection sort: swaps the move with the highest score, the first of equals, to the front of a
/// nonempty list. Ignores later moves that `isAllowed` rejects; does not test the move at the front.
/// Returns whether another move came to the front.
template <typename scoring, typename filter>
bool swapBestToFront(moveCode *front, const moveCode *end, scoring scoreOf, filter isAllowed)
{
    moveCode *best = front;
    int bestScore = scoreOf(*front);
    for (moveCode *move = front + 1; move < end; ++move)
        if (const int score = scoreOf(*move); score > bestScore && isAllowed(*move))
        {
            best = move;
            bestScore = score;
        }
    std::swap(*best, *front);
    return best != front;
}

/// The same by the score that the generators put into the extra byte.
inline void swapHighestToFront(moveCode *front, const moveCode *end)
{
    swapBestToFront(
        front, end, [](moveCode move) { return moveExtra(move); }, [](moveCode) { return true; });
}

} // namespace tarvonel
