// Move ordering: the staged move picker of the main search. It produces one move at a time, so that an
// early cutoff saves the generation and scoring of the rest.
//
// The list of a ply is in the move stack: captures from listStart to captureEnd, then killers and
// counter move as they are tried, then quiet moves from quietStart on.
#pragma once

#include <utility>

#include "board/pos.h"
#include "movegen/generators.h"

namespace tarvonel
{

/// The `stage` of a ply says what the next call does; while a move is being searched it also says where
/// the move came from.
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

/// Empties the list of the ply, so that the picker starts over at its present stage.
void restartMoveList(int ply, pos &position);

/// `prepareMovePicker` for ProbCut, where the hash move is an element of the list.
void prepareProbCut(int ply, pos &position);

/// Tests the move in `slot` for ProbCut. True if it gains at least `threshold`, is legal and has been
/// made; false if the slot is skipped. Generates the captures when their stage is reached.
bool nextProbCutMove(int ply, moveCode *slot, pos &position, std::int16_t threshold);

/// Selection sort, one step: swaps the move with the highest score to the front of a nonempty list, the
/// first of equals. A later move is chosen only if `isAllowed` accepts it; the one at the front is not
/// tested. Returns whether another move came to the front.
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
