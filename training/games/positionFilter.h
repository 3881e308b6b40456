// Which positions of a game are trained on.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

struct positionFilter
{
    int firstPly = 16;    ///< of the game, opening moves included
    int maxScore = 3000;  ///< centipawns for either side
    int maxBalance = 550; ///< end-game half of material and placement; the network is asked up to 400
};

/// Whether a position is trained on: quiet, with a score and a balance for which the engine asks the
/// network. `best` is the move that was played.
bool isSuitable(const pos &position, moveCode best, int score, const positionFilter &filter);

} // namespace tarvonel
