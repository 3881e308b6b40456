// The staged move picker of the alpha-beta search: one move at a time, so that a cut-off on an
// early move saves the generation and sorting of the rest.
//
// The list of a ply lies in the move stack: captures from listStart to captureEnd, behind them
// killers and counter move as they are handed out, quiet moves from quietStart on.
#pragma once

#include "board/pos.h"
#include "movegen/generators.h"

namespace tarvonel
{

/// `stage` of a ply: what the next call does; while a move is searched it tells where it came from.
enum pickerStage : std::uint8_t
{
    stageHashMove = 0,
    stageCaptureInit = 1, ///< the table move is being searched
    stageGoodCaptures = 2,
    stageKiller1 = 3,
    stageKiller2 = 4,     ///< the first killer is being searched
    stageCounterMove = 5, ///< the second killer is being searched
    stageChangeOver = 6,  ///< the counter move is being searched
    stageBadCaptures = 7,
    stageQuietInit = 8,
    stageQuiets = 9,
    stageEvasions = evasionStage,
};

/// Empties the list of the ply and tests its `hashMove`, which comes first if it can be played.
void prepareMovePicker(int ply, pos &position);

/// The next move to try, or `noMove`. With `skipQuiets` quiet moves are no longer sorted.
moveCode nextMove(int ply, pos &position, bool skipQuiets);

/// Empties the list of the ply, so that the picker starts over from the stage it stands at.
void restartMoveList(int ply, pos &position);

/// The same as `prepareMovePicker` for ProbCut, whose list holds the table move itself.
void prepareProbCut(int ply, pos &position);

/// Judges the move in `slot` for ProbCut: true when it gains at least `threshold`, is legal and has
/// been made on the board; false declines the slot. Generates the captures when it is their turn.
bool nextProbCutMove(int ply, moveCode *slot, pos &position, std::int16_t threshold);

} // namespace tarvonel
