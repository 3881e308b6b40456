#include "search/see.h"

#include "board/attackTables.h"

namespace tarvonel
{

namespace
{

using seeBalance = std::int16_t;

/// Exchange values by piece code. Knight and bishop are equal.
constexpr seeBalance seeValue[pieceCodeCount] = {0, 0, 88, 88, 372, 372, 372, 372, 566, 566, 1184, 1184, 10000, 10000};

bitboard attackersOf(const pos &position, int square, bitboard occupied)
{
    const auto &sets = position.bitboards;
    return (bishopAttacks(square, occupied) & (diagonalSliders(position, white) | diagonalSliders(position, black))) |
           (rookAttacks(square, occupied) & (straightSliders(position, white) | straightSliders(position, black))) |
           (knightAttacks[square] & (sets[whiteKnight] | sets[blackKnight])) |
           (kingAttacks[square] & (sets[whiteKing] | sets[blackKing])) |
           (pawnAttackers[white][square] & sets[whitePawn]) | (pawnAttackers[black][square] & sets[blackPawn]);
}

/// Plays out the exchange on a square, least valuable attacker first; `side` is to capture. `balance` is
/// the material of the other side relative to the threshold, its piece on the square counted as lost.
/// Returns whether that side reaches the threshold.
bool playOut(const pos &position, int square, bitboard occupied, colour side, seeBalance balance)
{
    bitboard attackers = attackersOf(position, square, occupied) & occupied;
    bool result = true;
    while ((attackers & position.bitboards[side]) != 0)
    {
        int code = whitePawn + side;
        while ((attackers & position.bitboards[code]) == 0)
            code += 2;
        const bitboard capturer = attackers & position.bitboards[code];
        occupied ^= capturer & (~capturer + 1);

        // X-rays: add a slider of the same side that was blocked by the capturing piece.
        const int type = typeOf(code);
        if (type == pawn || type == bishop || type == queen)
            attackers |= bishopAttacks(square, occupied) & diagonalSliders(position, side);
        if (type == rook || type == queen)
            attackers |= rookAttacks(square, occupied) & straightSliders(position, side);
        attackers &= occupied;

        if (type == king)
            return (attackers & position.bitboards[opponent(side)]) != 0 ? result : !result;

        result = !result;
        balance = static_cast<seeBalance>(balance + seeValue[code]);
        if (balance < 0)
            break;
        side = opponent(side);
        balance = static_cast<seeBalance>(-balance);
    }
    return result;
}

} // namespace

bool seeAtLeast(moveCode move, std::int16_t threshold, const pos &position)
{
    if (isIgnoredBySee(move))
        return threshold <= 0;
    const int from = moveFrom(move);
    const int to = moveTo(move);
    auto balance = static_cast<seeBalance>(seeValue[position.board[to]] - threshold);
    if (balance < 0)
        return false;
    balance = static_cast<seeBalance>(balance - seeValue[position.board[from]]);
    if (balance >= 0)
        return true;
    const bitboard occupied = occupancy(position) ^ bit(from) ^ bit(to);
    return playOut(position, to, occupied, opponent(colourOf(position.board[from])), balance);
}

bool seeNotNegativeAfter(moveCode move, int captured, const pos &position)
{
    const int to = moveTo(move);
    const auto balance = static_cast<seeBalance>(seeValue[captured] - seeValue[position.board[to]]);
    if (balance >= 0)
        return true;
    return playOut(position, to, occupancy(position) ^ bit(to), position.sideToMove, balance);
}

} // namespace tarvonel
