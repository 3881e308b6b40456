#include "search/checkDetection.h"

#include "board/attackTables.h"
#include "board/makeMove.h"

namespace tarvonel
{

checkSquares findCheckSquares(const pos &position)
{
    const colour mover = position.sideToMove;
    const int enemyKing = kingSquare(position, opponent(mover));
    const bitboard occupied = occupancy(position);

    checkSquares checks{};
    checks.enemyKing = enemyKing;
    checks.byType[pawn] = pawnAttackers[mover][enemyKing];
    checks.byType[knight] = knightAttacks[enemyKing];
    checks.byType[bishop] = bishopAttacks(enemyKing, occupied);
    checks.byType[rook] = rookAttacks(enemyKing, occupied);
    checks.byType[queen] = checks.byType[bishop] | checks.byType[rook];

    bitboard sliders = (bishopRays[enemyKing] & diagonalSliders(position, mover)) |
                       (rookRays[enemyKing] & straightSliders(position, mover));
    while (sliders != 0)
    {
        const bitboard blockers = between[enemyKing][popLowest(sliders)] & occupied;
        if (!moreThanOne(blockers))
            checks.discoverers |= blockers & position.bitboards[mover];
    }
    return checks;
}

// The enemy king is not in check before the move. So no slider can reach it by a move along a line to
// it, and a piece that leaves such a line can discover only the slider beyond it.
bool givesCheck(pos &position, int ply, const checkSquares &checks, moveCode move)
{
    const int flag = moveFlagOf(move);
    if (flag != plainMove && flag != doubleStep)
    {
        const colour mover = position.sideToMove;
        makeBoardOnly(position, ply, move);
        const bool isCheck = isAttacked(position, checks.enemyKing, mover, occupancy(position));
        unmakeBoardOnly(position, ply, move);
        return isCheck;
    }
    const int from = moveFrom(move);
    const int to = moveTo(move);
    if ((checks.byType[typeOf(position.board[from])] & bit(to)) != 0)
        return true;
    return (checks.discoverers & bit(from)) != 0 && (line[from][checks.enemyKing] & bit(to)) == 0;
}

} // namespace tarvonel
