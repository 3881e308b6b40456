// What may end a node before it is searched: repetition, too little material, mate distance.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Whether the node is a draw by repetition: one earlier occurrence inside the tree, or two before
/// the root.
bool isRepetition(int ply, const pos &position);

/// No pawns, and neither side has more than a bishop.
bool isMaterialDraw(const pos &position);

/// The score of a repetition: +1 or -1 by the parity of the node counter, so that the search does
/// not settle on one line of repetitions.
constexpr int repetitionScore(std::uint64_t nodes) { return static_cast<int>(nodes & 1) * 2 - 1; }

/// Narrows the window to what a mate at this ply or the next could still give (mate distance
/// pruning). Afterwards alpha >= beta means that the node is decided.
void clampMateDistance(int ply, int &alpha, int &beta);

} // namespace tarvonel
