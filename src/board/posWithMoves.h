// A position together with the move stack that its lists lie in.
#pragma once

#include "board/pos.h"

namespace tarvonel
{

/// Large: lives on the heap, in static memory or in a thread's own block. It cannot be copied, as
/// the lists of the copy would lie in the stack of the original.
struct posWithMoves
{
    posWithMoves() { position.info[0].listStart = firstMove(); }
    posWithMoves(const posWithMoves &) = delete;
    posWithMoves &operator=(const posWithMoves &) = delete;

    /// Where the list of ply 0 begins.
    moveCode *firstMove() { return moveStack + 1; }

    /// Takes over the whole of `other`, but for its move stack.
    void adopt(const pos &other)
    {
        position = other;
        position.info[0].listStart = firstMove();
    }

    pos position{};
    moveCode moveStack[1 + moveStackCapacity]{}; ///< slot 0 is spare: a picker starts one before its list
};

} // namespace tarvonel
