#include "movegen/generators.h"

#include "board/attackTables.h"

namespace tarvonel
{

namespace
{

constexpr int enPassantScore = 14;
constexpr int queenPushScore = 1;

// MVV-LVA: a capture scores the victim's code times the factor minus the deduction for the attacker's
// type. Promotions have a deduction of their own.
constexpr int victimFactor = 8;
constexpr int promotingPawn = pieceTypeCount;
constexpr int attackerDeduction[pieceTypeCount + 1] = {2, 4, 6, 8, 10, 12, 14};

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

// The score of a move, by destination and type of the moving piece.

template <int Score> constexpr auto fixedScore = [](int /*to*/, int /*type*/) { return Score; };

struct captureScore
{
    const pos &position;
    int operator()(int to, int type) const { return position.board[to] * victimFactor - attackerDeduction[type]; }
};

// Pawns.

/// Pawn moves to `targets`, each `Step` away from its origin, promotions first.
template <colour Side, int Step, promotions Kinds, typename Score>
moveCode *addPawnMoves(moveCode *out, bitboard targets, Score scoreOf)
{
    bitboard promoting = targets & lastRank<Side>;
    while (promoting != 0)
    {
        const int to = popLowest(promoting);
        const int score = scoreOf(to, promotingPawn);
        *out++ = encodeMove(to - Step, to, promoteQueen, score);
        if constexpr (Kinds == promotions::all)
            for (const int flag : {promoteRook, promoteBishop, promoteKnight})
                *out++ = encodeMove(to - Step, to, flag, score);
    }
    bitboard plain = targets & ~lastRank<Side>;
    while (plain != 0)
    {
        const int to = popLowest(plain);
        *out++ = encodeMove(to - Step, to, plainMove, scoreOf(to, pawn));
    }
    return out;
}

template <colour Side, promotions Kinds, typename Score>
moveCode *addPawnCaptures(moveCode *out, bitboard pawns, bitboard targets, Score scoreOf)
{
    out = addPawnMoves<Side, pawnStepBy9<Side>, Kinds>(out, pawnAttacksBy9<Side>(pawns) & targets, scoreOf);
    return addPawnMoves<Side, pawnStepBy7<Side>, Kinds>(out, pawnAttacksBy7<Side>(pawns) & targets, scoreOf);
}

/// Single and double steps to `targets`.
template <colour Side, typename Score>
moveCode *addPawnSteps(moveCode *out, bitboard pawns, bitboard occupied, bitboard targets, Score scoreOf)
{
    const bitboard single = shiftForward<Side>(pawns) & ~occupied;
    out = addPawnMoves<Side, pawnStep<Side>, promotions::all>(out, single & targets, scoreOf);
    bitboard twoSteps = shiftForward<Side>(single & stepRank<Side>) & ~occupied & targets;
    while (twoSteps != 0)
    {
        const int to = popLowest(twoSteps);
        *out++ = encodeMove(to - 2 * pawnStep<Side>, to, doubleStep, scoreOf(to, pawn));
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

template <typename Score> moveCode *addMoves(moveCode *out, int type, int from, bitboard targets, Score scoreOf)
{
    while (targets != 0)
    {
        const int to = popLowest(targets);
        *out++ = encodeMove(from, to, plainMove, scoreOf(to, type));
    }
    return out;
}

template <colour Side, int Type, typename Score>
moveCode *addMovesOf(moveCode *out, bitboard allowed, bitboard targets, const pos &position, Score scoreOf)
{
    const bitboard occupied = occupancy(position);
    bitboard origins = position.bitboards[pieceOf(Type, Side)] & allowed;
    while (origins != 0)
    {
        const int from = popLowest(origins);
        out = addMoves(out, Type, from, pieceAttacks(Type, from, occupied) & targets, scoreOf);
    }
    return out;
}

/// Moves to `targets` by the knights in `knights`, then by the bishops, rooks and queens in `others`.
template <colour Side, typename Score> moveCode *addPieceMoves(moveCode *out, bitboard knights, bitboard others,
                                                               bitboard targets, const pos &position, Score scoreOf)
{
    out = addMovesOf<Side, knight>(out, knights, targets, position, scoreOf);
    out = addMovesOf<Side, bishop>(out, others, targets, position, scoreOf);
    out = addMovesOf<Side, rook>(out, others, targets, position, scoreOf);
    return addMovesOf<Side, queen>(out, others, targets, position, scoreOf);
}

template <colour Side, typename Score>
moveCode *addKingMoves(moveCode *out, bitboard targets, const pos &position, Score scoreOf)
{
    const int from = kingSquare(position, Side);
    return addMoves(out, king, from, kingAttacks[from] & targets, scoreOf);
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
    const bitboard pawns = position.bitboards[whitePawn + Side] & node.unpinned;
    const int checker = lowestSquare(checkers);
    out = addPawnCaptures<Side, promotions::all>(out, pawns, checkers, fixedScore<evasionScore::pawnCapture>);
    if (node.enPassant == checker)
        out = addEnPassant(out, checker, pawns, evasionScore::pawnCapture);

    // Pawn blocks, then captures and blocks by pieces.
    const bitboard blocks = between[king][checker];
    out = addPawnSteps<Side>(out, pawns, occupied, blocks, fixedScore<evasionScore::pawnBlock>);
    const auto scoreOf = [checkers](int to, int type)
    { return (bit(to) & checkers) != 0 ? evasionScore::pieceCapture[type] : evasionScore::pieceBlock[type]; };
    out = addPieceMoves<Side>(out, node.unpinned, node.unpinned, blocks | checkers, position, scoreOf);
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
    const captureScore scoreOf{position};
    out = addPawnCaptures<Side, promotions::all>(out, position.bitboards[whitePawn + Side], targets, scoreOf);
    out = addPieceMoves<Side>(out, node.unpinned, ~bitboard{0}, targets, position, scoreOf);
    out = addPendingEnPassant<Side>(ply, out, position);
    out = addKingMoves<Side>(out, targets, position, scoreOf);
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
    const captureScore scoreOf{position};
    out = addPawnCaptures<Side, promotions::queenOnly>(out, position.bitboards[whitePawn + Side], targets, scoreOf);
    out = addPieceMoves<Side>(out, node.unpinned, ~bitboard{0}, targets, position, scoreOf);
    out = addKingMoves<Side>(out, targets, position, scoreOf);
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
        const captureScore scoreOf{position};
        out = addPawnCaptures<Side, promotions::queenOnly>(out, position.bitboards[whitePawn + Side], target, scoreOf);
        out = addPieceMoves<Side>(out, ~bitboard{0}, ~bitboard{0}, target, position, scoreOf);
        out = addKingMoves<Side>(out, target, position, scoreOf);
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
    out = addPawnSteps<Side>(out, position.bitboards[whitePawn + Side], occupied, ~bitboard{0}, fixedScore<0>);
    out = addCastling<Side>(node, out, position);
    out = addPieceMoves<Side>(out, node.unpinned, ~bitboard{0}, ~occupied, position, fixedScore<0>);
    out = addKingMoves<Side>(out, ~occupied, position, fixedScore<0>);
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
