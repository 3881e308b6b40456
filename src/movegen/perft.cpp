#include "movegen/perft.h"

#include "board/makeMove.h"
#include "movegen/generators.h"
#include "movegen/moveChecks.h"

namespace tarvonel
{

namespace
{

/// Whether this ply's list and one more may not fit behind the lists of the plies above. The stack
/// begins where the list of ply 0 does.
bool isMoveStackFull(int ply, const pos &position)
{
    return position.info[ply].listStart - position.info[0].listStart > moveStackSize - 2 * moveListReserve;
}

} // namespace

std::uint64_t perft(int ply, int depth, pos &position)
{
    moveCode *list = position.info[ply].listStart;
    if (depth == 1 || isMoveStackFull(ply, position))
        return static_cast<std::uint64_t>(countLegalMoves(ply, list, position));
    buildLegalList(ply, list, position);
    std::uint64_t leaves = 0;
    const moveCode *end = position.info[ply].listEnd;
    for (const moveCode *move = list; move < end; ++move)
    {
        makeMove(position, ply, *move);
        leaves += perft(ply + 1, depth - 1, position);
        unmakeMove(position, ply, *move);
    }
    return leaves;
}

} // namespace tarvonel
