#include "tablebase/tbPosition.h"

#include "board/attackTables.h"

namespace tarvonel
{

namespace
{

constexpr bitboard promotionRanks = rank1Bits | rank8Bits;
constexpr int twoRanks = 16;
constexpr std::uint8_t maxRule50 = 255; ///< the count saturates here

/// By tbPromotion.
constexpr int promotedTypes[] = {pawn, queen, rook, bishop, knight};

bitboard pawnAttacksFrom(colour side, bitboard pawns)
{
    return withColour(side, [pawns]<colour Side>() { return pawnAttackSet<Side>(pawns); });
}

bitboard pawnSteps(colour side, int from, bitboard occupied)
{
    const int ahead = from + forward(side);
    if (ahead < 0 || ahead >= squareCount || (occupied & bit(ahead)))
        return 0;
    const bitboard twoAhead = relativeRank(side, from) == rank2 ? bit(ahead + forward(side)) & ~occupied : 0;
    return bit(ahead) | twoAhead;
}

void addTargets(tbMoveList &list, int from, bitboard targets)
{
    while (targets != 0 && list.count < tbListRoom)
        list.moves[list.count++] = makeTbMove(from, popLowest(targets));
}

void addPawnTargets(tbMoveList &list, int from, bitboard targets)
{
    if (!(targets & promotionRanks))
    {
        addTargets(list, from, targets);
        return;
    }
    while (targets != 0 && list.count + 4 <= tbListRoom)
    {
        const int to = popLowest(targets);
        for (const int promotion : {toQueen, toKnight, toRook, toBishop})
            list.moves[list.count++] = makeTbMove(from, to, promotion);
    }
}

template <bool CapturesOnly> tbMoveList generate(const tbPosition &position)
{
    tbMoveList list;
    const colour side = sideToMove(position);
    const bitboard own = piecesOf(position, side), enemy = piecesOf(position, opponent(side)), occupied = own | enemy;
    const bitboard allowed = CapturesOnly ? enemy : ~own;
    for (int type = king; type > pawn; --type)
        for (bitboard pieces = position.*typeSets[type] & own; pieces != 0;)
        {
            const int from = popLowest(pieces);
            addTargets(list, from, pieceAttacks(type, from, occupied) & allowed);
        }
    const bitboard pawnVictims = enemy | (position.ep != 0 ? bit(position.ep) : 0);
    for (bitboard pieces = position.pawns & own; pieces != 0;)
    {
        const int from = popLowest(pieces);
        bitboard targets = pawnAttacksFrom(side, bit(from)) & pawnVictims;
        if (!CapturesOnly)
            targets |= pawnSteps(side, from, occupied);
        addPawnTargets(list, from, targets);
    }
    return list;
}

bool isKingSafe(const tbPosition &position, colour side)
{
    const bitboard own = piecesOf(position, side), enemy = piecesOf(position, opponent(side)), occupied = own | enemy;
    const bitboard ownKing = position.kings & own;
    if (ownKing == 0)
        return false;
    const int square = lowestSquare(ownKing);
    const bitboard straight = (position.rooks | position.queens) & enemy;
    const bitboard diagonal = (position.bishops | position.queens) & enemy;
    return !(kingAttacks[square] & position.kings & enemy) && !(knightAttacks[square] & position.knights & enemy) &&
           !(pawnAttacksFrom(side, ownKing) & position.pawns & enemy) &&
           (!straight || !(rookAttacks(square, occupied) & straight)) &&
           (!diagonal || !(bishopAttacks(square, occupied) & diagonal));
}

} // namespace

std::uint64_t materialSignature(const tbPosition &position, colour firstSide)
{
    const bitboard sides[2] = {piecesOf(position, firstSide), piecesOf(position, opponent(firstSide))};
    std::uint64_t signature = 0;
    for (int type = pawn; type < signatureTypes; ++type)
    {
        const bitboard set = position.*typeSets[type];
        for (int side = 0; side < 2; ++side)
            // Most sets have at most one piece, so a loop is faster than a population count.
            for (bitboard pieces = set & sides[side]; pieces != 0; pieces &= pieces - 1)
                signature += signatureParts[side][type];
    }
    return signature;
}

bool tbValid(const tbPosition &position)
{
    bitboard united = 0;
    for (const auto set : typeSets)
    {
        if (united & position.*set)
            return false;
        united |= position.*set;
    }
    return !(position.white & position.black) && united == allPieces(position) && popCount(united) <= maxTbPieces &&
           exactlyOne(position.kings & position.white) && exactlyOne(position.kings & position.black) &&
           !(position.pawns & promotionRanks) && isKingSafe(position, opponent(sideToMove(position)));
}

tbMoveList tbCaptures(const tbPosition &position) { return generate<true>(position); }
tbMoveList tbMoves(const tbPosition &position) { return generate<false>(position); }

tbMoveList tbLegalMoves(const tbPosition &position)
{
    tbMoveList list = tbMoves(position);
    int kept = 0;
    tbPosition next;
    for (const tbMove move : list)
        if (applyTbMove(next, position, move))
            list.moves[kept++] = move;
    list.count = kept;
    return list;
}

bool applyTbMove(tbPosition &next, const tbPosition &position, tbMove move)
{
    const int from = tbFrom(move), to = tbTo(move);
    const colour side = sideToMove(position);
    const bool capture = (allPieces(position) & bit(to)) != 0;
    const bool pawnMove = isTbPawnMove(position, move);
    next = position;
    next.turn = position.turn ^ 1;
    next.ep = 0;
    bitboard &own = side == white ? next.white : next.black;
    bitboard &enemy = side == white ? next.black : next.white;

    own = (own & ~bit(from)) | bit(to);
    enemy &= ~bit(to);
    for (const auto set : typeSets)
    {
        bitboard &pieces = next.*set;
        const bool mover = (pieces & bit(from)) != 0;
        pieces &= ~(bit(from) | bit(to));
        if (mover)
            pieces |= bit(to);
    }

    if (pawnMove)
    {
        next.rule50 = 0;
        const int promotion = tbPromotionOf(move);
        if (promotion != noPromotion)
        {
            next.pawns &= ~bit(to);
            next.*typeSets[promotedTypes[promotion]] |= bit(to);
        }
        else if (to - from == twoRanks || from - to == twoRanks)
        {
            const int skipped = (from + to) / 2;
            if (pawnAttacksFrom(side, bit(skipped)) & position.pawns & enemy)
                next.ep = static_cast<std::uint8_t>(skipped);
        }
        else if (isTbEnPassant(position, move))
        {
            const bitboard captured = bit(to - forward(side));
            enemy &= ~captured;
            next.pawns &= ~captured;
        }
    }
    else if (capture)
        next.rule50 = 0;
    else
        next.rule50 = position.rule50 == maxRule50 ? maxRule50 : static_cast<std::uint8_t>(position.rule50 + 1);
    return isKingSafe(next, side);
}

bool isTbPawnMove(const tbPosition &position, tbMove move) { return (position.pawns & bit(tbFrom(move))) != 0; }

bool isTbEnPassant(const tbPosition &position, tbMove move)
{
    return position.ep != 0 && tbTo(move) == position.ep && isTbPawnMove(position, move);
}

bool isTbCapture(const tbPosition &position, tbMove move)
{
    return (piecesOf(position, opponent(sideToMove(position))) & bit(tbTo(move))) != 0 || isTbEnPassant(position, move);
}

bool isTbCheck(const tbPosition &position) { return !isKingSafe(position, sideToMove(position)); }

bool isTbMate(const tbPosition &position) { return isTbCheck(position) && tbLegalMoves(position).count == 0; }

} // namespace tarvonel
