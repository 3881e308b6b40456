#include "support/tablebaseRules.h"

#include "board/attackTables.h"

namespace tarvonel::endings
{

namespace
{

int manOn(const ending &position, int square)
{
    for (int i = 0; i < position.count; ++i)
        if (position.squares[i] == square)
            return i;
    return -1;
}

void removeMan(ending &position, int man)
{
    --position.count;
    for (int i = man; i < position.count; ++i)
    {
        position.types[i] = position.types[i + 1];
        position.sides[i] = position.sides[i + 1];
        position.squares[i] = position.squares[i + 1];
    }
}

void addMove(std::vector<endingMove> &moves, const ending &position, int man, int to, int promotion)
{
    const int from = position.squares[man];
    const bool pawnMove = position.types[man] == pawn;
    endingMove move{from, to, promotion, false, pawnMove, pawnMove && to == position.ep, position};
    ending &next = move.next;
    next.squares[man] = to;
    next.types[man] = promotion != pawn ? promotion : position.types[man];
    next.turn = opponent(position.turn);
    next.ep = noEp;
    const int victim = manOn(position, move.enPassant ? to - forward(position.turn) : to);
    move.capture = victim >= 0;
    if (victim >= 0)
        removeMan(next, victim);
    if (isInCheck(next, position.turn))
        return;
    if (pawnMove && (to - from == 16 || from - to == 16))
    {
        const int skipped = (from + to) / 2;
        for (int i = 0; i < next.count; ++i)
            if (next.types[i] == pawn && next.sides[i] == next.turn &&
                (attacks(pawn, next.turn, next.squares[i], 0) & bit(skipped)))
                next.ep = skipped;
    }
    moves.push_back(move);
}

void addPawnMoves(std::vector<endingMove> &moves, const ending &position, int man, bitboard men, bitboard enemy)
{
    const int from = position.squares[man], ahead = from + forward(position.turn);
    bitboard targets = attacks(pawn, position.turn, from, men) & (enemy | (position.ep != noEp ? bit(position.ep) : 0));
    if (!(men & bit(ahead)))
    {
        targets |= bit(ahead);
        const int twoAhead = ahead + forward(position.turn);
        if (relativeRank(position.turn, from) == rank2 && !(men & bit(twoAhead)))
            targets |= bit(twoAhead);
    }
    while (targets)
    {
        const int to = popLowest(targets);
        if (relativeRank(position.turn, to) != rank8)
            addMove(moves, position, man, to, pawn);
        else
            for (const int promotion : {queen, rook, bishop, knight})
                addMove(moves, position, man, to, promotion);
    }
}

} // namespace

ending menOfName(const std::string &name)
{
    ending position;
    colour side = white;
    for (const char letter : name)
    {
        if (letter == 'v')
        {
            side = black;
            continue;
        }
        position.types[position.count] = static_cast<int>(menLetters.find(letter));
        position.sides[position.count++] = side;
    }
    return position;
}

ending mirrored(ending position, int change)
{
    for (int i = 0; i < position.count; ++i)
        position.squares[i] ^= change;
    if (position.ep != noEp)
        position.ep ^= change;
    return position;
}

ending transposed(ending position)
{
    for (int i = 0; i < position.count; ++i)
        position.squares[i] = squareAt(rankOf(position.squares[i]), fileOf(position.squares[i]));
    return position;
}

ending swappedColours(const ending &position)
{
    ending swapped = mirrored(position, flipRanks);
    for (int i = 0; i < swapped.count; ++i)
        swapped.sides[i] = opponent(swapped.sides[i]);
    swapped.turn = opponent(position.turn);
    return swapped;
}

tbPosition toTbPosition(const ending &position, int rule50)
{
    tbPosition result = {};
    for (int i = 0; i < position.count; ++i)
    {
        (position.sides[i] == white ? result.white : result.black) |= bit(position.squares[i]);
        result.*typeSets[position.types[i]] |= bit(position.squares[i]);
    }
    result.rule50 = static_cast<std::uint8_t>(rule50);
    result.ep = static_cast<std::uint8_t>(position.ep == noEp ? 0 : position.ep);
    result.turn = position.turn == white;
    return result;
}

std::string describe(const ending &position)
{
    std::string text = position.turn == white ? "white to move:" : "black to move:";
    for (int i = 0; i < position.count; ++i)
        text += std::string(" ") + "PpNnBbRrQqKk"[2 * position.types[i] + position.sides[i]] +
                squareText(position.squares[i]);
    if (position.ep != noEp)
        text += " ep " + squareText(position.ep);
    return text;
}

bitboard occupied(const ending &position)
{
    bitboard men = 0;
    for (int i = 0; i < position.count; ++i)
        men |= bit(position.squares[i]);
    return men;
}

bitboard attacks(int type, colour side, int square, bitboard men)
{
    const bitboard ahead = type == pawn ? bit(square + forward(side)) : 0;
    switch (type)
    {
    case pawn:
        return (ahead & ~fileBits(fileA)) >> 1 | (ahead & ~fileBits(fileH)) << 1;
    case knight:
        return knightAttacks[square];
    case bishop:
        return bishopAttacks(square, men);
    case rook:
        return rookAttacks(square, men);
    case queen:
        return queenAttacks(square, men);
    default:
        return kingAttacks[square];
    }
}

bool isInCheck(const ending &position, colour side)
{
    const bitboard men = occupied(position);
    bitboard kings = 0, attacked = 0;
    for (int i = 0; i < position.count; ++i)
        if (position.sides[i] != side)
            attacked |= attacks(position.types[i], position.sides[i], position.squares[i], men);
        else if (position.types[i] == king)
            kings |= bit(position.squares[i]);
    return (kings & attacked) != 0;
}

bool isPossible(const ending &position)
{
    if (popCount(occupied(position)) != position.count)
        return false;
    for (int i = 0; i < position.count; ++i)
        if (position.types[i] == pawn && (rankOf(position.squares[i]) == rank1 || rankOf(position.squares[i]) == rank8))
            return false;
    return !isInCheck(position, opponent(position.turn));
}

std::vector<endingMove> legalMoves(const ending &position)
{
    const bitboard men = occupied(position);
    bitboard own = 0;
    for (int i = 0; i < position.count; ++i)
        if (position.sides[i] == position.turn)
            own |= bit(position.squares[i]);
    std::vector<endingMove> moves;
    moves.reserve(40);
    for (int i = 0; i < position.count; ++i)
    {
        if (position.sides[i] != position.turn)
            continue;
        if (position.types[i] == pawn)
        {
            addPawnMoves(moves, position, i, men, men & ~own);
            continue;
        }
        for (bitboard targets = attacks(position.types[i], position.turn, position.squares[i], men) & ~own; targets;)
            addMove(moves, position, i, popLowest(targets), pawn);
    }
    return moves;
}

} // namespace tarvonel::endings
