// The evaluation of pieces and kings: shelter, placement, pins, mobility, threats, space, danger.
#pragma once

#include "board/pos.h"
#include "eval/evalTerms.h"
#include "eval/pawnEvaluation.h"

namespace tarvonel
{

/// All terms that depend on the pieces, white's minus black's; `pawns` is the entry of the same
/// position. Not quite symmetric in the colours: the danger of white's king is reckoned before
/// black's pawn mobility is known. Exists for `shippedTerms` and `tunableTerms`.
template <const evalTerms &Terms> combEval evaluatePieces(const pos &position, const pawnEntry &pawns);

} // namespace tarvonel
