#include "search/principalVariation.h"

#include "board/attackTables.h"
#include "board/makeMove.h"
#include "movegen/legality.h"
#include "search/transpositionTable.h"

namespace tarvonel
{

void walkPrincipalVariation(pos &position, int depth)
{
    position.pvLast = 0;
    int made = 0;
    moveCode move = position.info[0].pvMove;
    while (made < depth && isMoveValid(position, made, move) && leavesKingSafe(position, made, move))
    {
        position.info[made].pvMove = move;
        makeMove(position, made, move);
        position.pvLast = static_cast<std::uint8_t>(made);
        ++made;
        position.info[made].inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
        const ttEntry entry = ttProbe(position.key);
        move = entry.bound() == boundExact ? entry.move() : noMove;
    }
    while (made > 0)
    {
        --made;
        unmakeMove(position, made, position.info[made].pvMove);
    }
}

} // namespace tarvonel
