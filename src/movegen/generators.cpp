#include "movegen/generators.h"

#include "board/attackTables.h"

namespace tarvonel
{

namespace
{

/// MVV-LVA: a capture scores the victim's code times this minus the attacker's deduction.
constexpr int victimFactor = 8;
constexpr int promotionDeduction = 14;
constexpr int enPassantScore = 14;
constexpr int queenPushScore = 1;

/// By type of the attacker.
constexpr int attackerDeduction[pieceTypeCount] = {2, 4, 6, 8, 10, 12};

namespace evasionScore
{
constexpr int pawnCapture = 250;
constexpr int pawnBlock = 210;
constexpr int kingStep = 202;
/// A king's capture scores the victim's code minus this, wrapped to a byte: 222 and above.
constexpr int checkerDeduction = 35;
constexpr int otherDeduction = 36;
/// By type of the piece that captures the checker or blocks.
constexpr int pieceCapture[pieceTypeCount] = {0, 236, 235, 234, 233, 0};
constexpr int pieceBlock[pieceTypeCount] = {0, 206, 205, 204, 203, 0};
} // namespace evasionScore

constexpr int allPromotions[] = {promoteQueen, promoteRook, promoteBishop, promoteKnight};

template <colour Side> constexpr bitboard lastRank = Side == white ? rank8Bits : rank1Bits;
/// The rank that a double step passes over.
template <colour Side> constexpr bitboard stepRank = Side == white ? rankBits(rank3) : rankBits(rank6);

/// Square offsets of a pawn's step and its two captures.
template <colour Side> constexpr int pawnStep = Side == white ? 8 : -8;
template <colour Side> constexpr int pawnStepBy9 = Side == white ? 9 : -9;
template <colour Side> constexpr int pawnStepBy7 = Side == white ? 7 : -7;

enum class promotions
{
    queenOnly,
    all
};

void closeList(int ply, moveCode *end, pos &position)
{
    position.info[ply].listEnd = end;
    position.info[ply + 1].listStart = end;
}

/// All squares except those of pieces pinned to the king of `Side`.
template <colour Side> bitboard findUnpinned(const pos &position)
{
    return ~(position.bitboards[Side] & sliderBlockers(position, kingSquare(position, Side), opponent(Side)));
}

// Pawns.

/// Pawn captures to `targets`, each `Step` away from its origin.
template <colour Side, int Step, promotions Kinds>
moveCode *addPawnCaptures(moveCode *out, bitboard targets, const pos &position)
{
    bitboard promoting = targets & lastRank<Side>;
    while (promoting != 0)
    {
        const int to = popLowest(promoting);
        const int score = position.board[to] * victimFactor - promotionDeduction;
        *out++ = encodeMove(to - Step, to, promoteQueen, score);
        if constexpr (Kinds == promotions::all)
        {
            *out++ = encodeMove(to - Step, to, promoteRook, score);
            *out++ = encodeMove(to - Step, to, promoteBishop, score);
            *out++ = encodeMove(to - Step, to, promoteKnight, score);
        }
    }
    bitboard plain = targets & ~lastRank<Side>;
    while (plain != 0)
    {
        const int to = popLowest(plain);
        *out++ = encodeMove(to - Step, to, plainMove, position.board[to] * victimFactor - attackerDeduction[pawn]);
    }
    return out;
}

/// Pawn moves that share one score, promotions first.
template <colour Side, int Step> moveCode *addScoredPawnMoves(moveCode *out, bitboard targets, int score)
{
    bitboard promoting = targets & lastRank<Side>;
    while (promoting != 0)
    {
        const int to = popLowest(promoting);
        for (const int flag : allPromotions)
            *out++ = encodeMove(to - Step, to, flag, score);
    }
    bitboard plain = targets & ~lastRank<Side>;
    while (plain != 0)
    {
        const int to = popLowest(plain);
        *out++ = encodeMove(to - Step, to, plainMove, score);
    }
    return out;
}

template <colour Side> moveCode *addDoubleSteps(moveCode *out, bitboard targets, int score)
{
    while (targets != 0)
    {
        const int to = popLowest(targets);
        *out++ = encodeMove(to - 2 * pawnStep<Side>, to, doubleStep, score);
    }
    return out;
}

/// En passant captures of the pawn by `capturers`.
moveCode *addEnPassant(moveCode *out, int pawnSquare, bitboard capturers, int score)
{
    bitboard origins = epNeighbours[pawnSquare] & capturers;
    while (origins != 0)
        *out++ = encodeMove(popLowest(origins), pawnSquare, enPassantCapture, score);
    return out;
}

template <colour Side> moveCode *addPendingEnPassant(int ply, moveCode *out, const pos &position)
{
    const int pawnSquare = position.info[ply].enPassant;
    return pawnSquare == 0 ? out : addEnPassant(out, pawnSquare, position.bitboards[whitePawn + Side], enPassantScore);
}

// Pieces.

moveCode *addCaptures(moveCode *out, int from, bitboard targets, int type, const pos &position)
{
    while (targets != 0)
    {
        const int to = popLowest(targets);
        *out++ = encodeMove(from, to, plainMove, position.board[to] * victimFactor - attackerDeduction[type]);
    }
    return out;
}

moveCode *addScoredMoves(moveCode *out, int from, bitboard targets, int score)
{
    while (targets != 0)
        *out++ = encodeMove(from, popLowest(targets), plainMove, score);
    return out;
}

template <colour Side, int Type>
moveCode *addPieceCaptures(moveCode *out, bitboard allowed, bitboard targets, const pos &position)
{
    const bitboard occupied = occupancy(position);
    bitboard origins = position.bitboards[pieceOf(Type, Side)] & allowed;
    while (origins != 0)
    {
        const int from = popLowest(origins);
        out = addCaptures(out, from, pieceAttacks(Type, from, occupied) & targets, Type, position);
    }
    return out;
}

template <colour Side, int Type>
moveCode *addPieceQuiets(moveCode *out, bitboard allowed, bitboard occupied, const pos &position)
{
    bitboard origins = position.bitboards[pieceOf(Type, Side)] & allowed;
    while (origins != 0)
    {
        const int from = popLowest(origins);
        out = addScoredMoves(out, from, pieceAttacks(Type, from, occupied) & ~occupied, 0);
    }
    return out;
}

template <colour Side, int Type>
moveCode *addPieceEvasions(moveCode *out, bitboard blocks, bitboard checkers, const pos &position, bitboard unpinned)
{
    const bitboard occupied = occupancy(position);
    bitboard origins = position.bitboards[pieceOf(Type, Side)] & unpinned;
    while (origins != 0)
    {
        const int from = popLowest(origins);
        bitboard targets = pieceAttacks(Type, from, occupied) & (blocks | checkers);
        while (targets != 0)
        {
            const int to = popLowest(targets);
            const bool takes = (bit(to) & checkers) != 0;
            *out++ = encodeMove(from, to, plainMove,
                                takes ? evasionScore::pieceCapture[Type] : evasionScore::pieceBlock[Type]);
        }
    }
    return out;
}

template <colour Side> moveCode *addKingCaptures(moveCode *out, bitboard targets, const pos &position)
{
    const int from = kingSquare(position, Side);
    return addCaptures(out, from, kingAttacks[from] & targets, king, position);
}

// The capture groups that all capture lists share.

template <colour Side, promotions Kinds>
moveCode *addAllPawnCaptures(moveCode *out, bitboard targets, const pos &position)
{
    const bitboard pawns = position.bitboards[whitePawn + Side];
    out = addPawnCaptures<Side, pawnStepBy9<Side>, Kinds>(out, pawnAttacksBy9<Side>(pawns) & targets, position);
    return addPawnCaptures<Side, pawnStepBy7<Side>, Kinds>(out, pawnAttacksBy7<Side>(pawns) & targets, position);
}

template <colour Side>
moveCode *addAllPieceCaptures(moveCode *out, bitboard knights, bitboard targets, const pos &position)
{
    out = addPieceCaptures<Side, knight>(out, knights, targets, position);
    out = addPieceCaptures<Side, bishop>(out, ~bitboard{0}, targets, position);
    out = addPieceCaptures<Side, rook>(out, ~bitboard{0}, targets, position);
    return addPieceCaptures<Side, queen>(out, ~bitboard{0}, targets, position);
}

// The generators, by the side to move.

template <colour Side> void evasionsOf(int ply, moveCode *out, pos &position)
{
    constexpr colour enemy = opponent(Side);
    const posinfo &node = position.info[ply];
    const int king = kingSquare(position, Side);
    const bitboard occupied = occupancy(position);
    const bitboard own = position.bitboards[Side];
    const bitboard checkers = (bishopAttacks(king, occupied) & diagonalSliders(position, enemy)) |
                              (rookAttacks(king, occupied) & straightSliders(position, enemy)) |
                              (pawnAttackers[enemy][king] & position.bitboards[whitePawn + enemy]) |
                              (knightAttacks[king] & position.bitboards[whiteKnight + enemy]);

    // King moves. The king does not block sliders through its own square.
    const bitboard withoutKing = occupied & ~bit(king);
    bitboard steps = kingAttacks[king] & ~own;
    while (steps != 0)
    {
        const int to = popLowest(steps);
        if (isAttacked(position, to, enemy, withoutKing))
            continue;
        const int victim = position.board[to];
        const int deduction = (bit(to) & checkers) != 0 ? evasionScore::checkerDeduction : evasionScore::otherDeduction;
        const int score = victim == emptySquare ? evasionScore::kingStep : (victim - deduction) & 0xFF;
        *out++ = encodeMove(king, to, plainMove, score);
    }
    if (moreThanOne(checkers))
    {
        closeList(ply, out, position);
        return;
    }

    // Pawn captures of the checker. Pinned pieces can neither capture it nor block.
    const bitboard unpinned = node.unpinned;
    const bitboard pawns = position.bitboards[whitePawn + Side] & unpinned;
    const bitboard by9 = pawnAttacksBy9<Side>(pawns) & checkers;
    const bitboard by7 = pawnAttacksBy7<Side>(pawns) & checkers;
    out = addScoredPawnMoves<Side, pawnStepBy9<Side>>(out, by9, evasionScore::pawnCapture);
    out = addScoredPawnMoves<Side, pawnStepBy7<Side>>(out, by7, evasionScore::pawnCapture);
    const int checker = lowestSquare(checkers);
    if (node.enPassant == checker)
        out = addEnPassant(out, checker, pawns, evasionScore::pawnCapture);

    // Pawn blocks.
    const bitboard blocks = between[king][checker];
    const bitboard single = shiftForward<Side>(pawns) & ~occupied;
    out = addScoredPawnMoves<Side, pawnStep<Side>>(out, single & blocks, evasionScore::pawnBlock);
    const bitboard twoSteps = shiftForward<Side>(single & stepRank<Side>) & ~occupied & blocks;
    out = addDoubleSteps<Side>(out, twoSteps, evasionScore::pawnBlock);

    // Captures and blocks by pieces.
    out = addPieceEvasions<Side, knight>(out, blocks, checkers, position, unpinned);
    out = addPieceEvasions<Side, bishop>(out, blocks, checkers, position, unpinned);
    out = addPieceEvasions<Side, rook>(out, blocks, checkers, position, unpinned);
    out = addPieceEvasions<Side, queen>(out, blocks, checkers, position, unpinned);
    closeList(ply, out, position);
}

template <colour Side> void capturesOf(int ply, moveCode *out, pos &position)
{
    posinfo &node = position.info[ply];
    *out = withExtra(*out, 0);
    node.unpinned = findUnpinned<Side>(position);
    if (node.inCheck != 0)
    {
        evasionsOf<Side>(ply, out, position);
        node.stage = evasionStage;
        return;
    }
    const bitboard targets = position.bitboards[opponent(Side)];
    out = addAllPawnCaptures<Side, promotions::all>(out, targets, position);
    out = addAllPieceCaptures<Side>(out, node.unpinned, targets, position);
    out = addPendingEnPassant<Side>(ply, out, position);
    out = addKingCaptures<Side>(out, targets, position);
    closeList(ply, out, position);
}

template <colour Side> void quiescenceMovesOf(int ply, moveCode *out, pos &position)
{
    posinfo &node = position.info[ply];
    node.unpinned = findUnpinned<Side>(position);
    if (node.inCheck != 0)
    {
        evasionsOf<Side>(ply, out, position);
        return;
    }
    const bitboard targets = position.bitboards[opponent(Side)];
    out = addAllPawnCaptures<Side, promotions::queenOnly>(out, targets, position);
    out = addAllPieceCaptures<Side>(out, node.unpinned, targets, position);
    out = addKingCaptures<Side>(out, targets, position);
    out = addPendingEnPassant<Side>(ply, out, position);
    bitboard pushes = shiftForward<Side>(position.bitboards[whitePawn + Side]) & ~occupancy(position) & lastRank<Side>;
    while (pushes != 0)
    {
        const int to = popLowest(pushes);
        *out++ = encodeMove(to - pawnStep<Side>, to, promoteQueen, queenPushScore);
    }
    closeList(ply, out, position);
}

template <colour Side> void recapturesOf(int ply, moveCode *out, pos &position)
{
    posinfo &node = position.info[ply];
    if (node.inCheck != 0)
    {
        node.unpinned = findUnpinned<Side>(position);
        evasionsOf<Side>(ply, out, position);
        return;
    }
    const bitboard target = bit(moveTo(position.info[ply - 1].playedMove)) & position.bitboards[opponent(Side)];
    if (target != 0)
    {
        out = addAllPawnCaptures<Side, promotions::queenOnly>(out, target, position);
        out = addAllPieceCaptures<Side>(out, ~bitboard{0}, target, position);
        out = addKingCaptures<Side>(out, target, position);
    }
    closeList(ply, out, position);
}

template <colour Side> moveCode *addCastling(const posinfo &node, moveCode *out, const pos &position)
{
    if ((node.castling & castlingRightsOf(Side)) == 0 || node.inCheck != 0)
        return out;
    for (const int wing : {kingSide, queenSide})
        if ((node.castling & castlingRightOf(wing, Side)) != 0 && isCastlingPathFree(position, wing, Side))
            *out++ = encodeMove(kingSquare(position, Side), castlingTarget(wing, Side), castleKingSide + wing);
    return out;
}

template <colour Side> void quietsOf(int ply, moveCode *out, pos &position)
{
    const posinfo &node = position.info[ply];
    *out = withExtra(*out, 0);
    const bitboard occupied = occupancy(position);
    const bitboard single = shiftForward<Side>(position.bitboards[whitePawn + Side]) & ~occupied;
    out = addScoredPawnMoves<Side, pawnStep<Side>>(out, single, 0);
    out = addDoubleSteps<Side>(out, shiftForward<Side>(single & stepRank<Side>) & ~occupied, 0);
    out = addCastling<Side>(node, out, position);
    out = addPieceQuiets<Side, knight>(out, node.unpinned, occupied, position);
    out = addPieceQuiets<Side, bishop>(out, ~bitboard{0}, occupied, position);
    out = addPieceQuiets<Side, rook>(out, ~bitboard{0}, occupied, position);
    out = addPieceQuiets<Side, queen>(out, ~bitboard{0}, occupied, position);
    const int king = kingSquare(position, Side);
    out = addScoredMoves(out, king, kingAttacks[king] & ~occupied, 0);
    closeList(ply, out, position);
}

} // namespace

bool isCastlingPathFree(const pos &position, int wing, colour side)
{
    const int king = kingSquare(position, side);
    const int target = castlingTarget(wing, side);
    const int rook = position.castleRook[wing][side];
    const int rookTarget = wing == kingSide ? target - 1 : target + 1;
    const bitboard occupied = occupancy(position);
    bitboard kingPath = between[king][target];
    const bitboard swept = kingPath | between[rook][rookTarget] | bit(target) | bit(rookTarget);
    if ((occupied & ~bit(king) & ~bit(rook) & swept) != 0)
        return false;
    while (kingPath != 0)
        if (isAttacked(position, popLowest(kingPath), opponent(side), occupied))
            return false;
    return true;
}

void generateCaptures(int ply, moveCode *slot, pos &position)
{
    withColour(position.sideToMove, [&]<colour Side>() { capturesOf<Side>(ply, slot, position); });
}

void generateQuiets(int ply, moveCode *slot, pos &position)
{
    withColour(position.sideToMove, [&]<colour Side>() { quietsOf<Side>(ply, slot, position); });
}

void generateQuiescenceMoves(int ply, moveCode *slot, pos &position)
{
    withColour(position.sideToMove, [&]<colour Side>() { quiescenceMovesOf<Side>(ply, slot, position); });
}

void generateRecaptures(int ply, moveCode *slot, pos &position)
{
    withColour(position.sideToMove, [&]<colour Side>() { recapturesOf<Side>(ply, slot, position); });
}

} // namespace tarvonel
