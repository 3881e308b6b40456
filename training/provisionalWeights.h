// Network weights worked out, not trained: material, piece-square balance and tempo of the hand-set
// evaluation, as near as the network's form allows. They let an engine play that has no trained
// network yet, and give the first games to train one on.
#pragma once

#include "eval/networkFile.h"

namespace tarvonel
{

/// Fills the rows of a record. Reads `pieceSquareScore` and `pieceValue` alone; always the same.
void makeProvisionalWeights(networkWeights &weights);

} // namespace tarvonel
