// All values of the hand-set evaluation in one record.
//
// The evaluation functions take the record as a template argument. Over `shippedTerms`, which is
// constant, the compiler folds the values into the code: that is what the engine runs. Over
// `tunableTerms` the same functions read memory: that is what the tuner and the tests run, which
// change values and look at what becomes of the scores.
//
// Threads: `tunableTerms` is written only while no thread evaluates with it.
#pragma once

#include "eval/pawnTables.h"
#include "eval/pieceTables.h"

namespace tarvonel
{

/// Terms of the position as a whole. The complexity values act on the end-game score alone: their
/// sum moves it away from 0, or, when negative, towards 0 and not beyond.
struct frameTerms
{
    combEval bishopPair; ///< for exactly two bishops
    combEval tempo;      ///< for the side to move
    int complexityPerPawn;
    int complexityBothWings; ///< pawns on files a to d and on files e to h
    int complexityPawnEnding;
    int complexityWithPieces; ///< when it is no pawn ending
};

struct evalTerms
{
    frameTerms frame;
    pawnTerms pawns;
    pieceTerms pieces;
};

inline constexpr evalTerms shippedTerms = {
    .frame =
        {
            .bishopPair = X(20, 58),
            .tempo = X(25, 17),
            .complexityPerPawn = 4,
            .complexityBothWings = 67,
            .complexityPawnEnding = -24,
            .complexityWithPieces = -102,
        },
    .pawns = shippedPawnTerms,
    .pieces = shippedPieceTerms,
};

inline evalTerms tunableTerms = shippedTerms;

} // namespace tarvonel
