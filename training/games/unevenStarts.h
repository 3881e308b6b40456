// Random start positions that ordinary games seldom reach and evaluations misjudge: endings that are
// drawn despite a lead, leads without pawns, unequal pieces, opposite-coloured bishops, advanced
// passed pawns, attacked kings.
#pragma once

#include "uci/randomOpening.h"

namespace tarvonel
{

/// Sets up a legal position that is not over and quiet: the side to move is not in check and no
/// capture improves on its static evaluation. All kinds of material are equally likely. The search's
/// tables must exist.
void drawUnevenStart(posWithMoves &board, randomSource &random);

} // namespace tarvonel
