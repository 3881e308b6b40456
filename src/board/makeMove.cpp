#include "board/makeMove.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "board/attackTables.h"
#include "board/consistency.h"
#include "board/keys.h"
#include "board/pieceValues.h"
#include "board/setup.h"

namespace tarvonel
{

namespace
{

struct rookTrip
{
    int from;
    int to;
};

/// The rook's part of a castling move: it lands on the far side of the king.
template <colour Mover> rookTrip castlingRook(const pos &position, moveCode move)
{
    const bool isKingSide = moveFlagOf(move) == castleKingSide;
    return {position.castleRook[isKingSide ? kingSide : queenSide][Mover],
            isKingSide ? moveTo(move) - 1 : moveTo(move) + 1};
}

template <colour Mover> combEval squareValue(int type, int square)
{
    return pieceSquareScore[type][tableSquare(Mover, square)];
}

/// Collects what a move changes while it is made: the working copies of the keys and the marks for
/// the network.
struct changeLog
{
    std::uint64_t key;
    std::uint64_t pawnKey;
    pieceChange &changes;

    void hash(int code, int square) { key ^= pieceKey(code, square); }
    void hashPawnToo(int code, int square)
    {
        key ^= pieceKey(code, square);
        pawnKey ^= pieceKey(code, square);
    }
    void note(int code, int from, int to)
    {
        changes.piece[changes.count] = static_cast<std::uint8_t>(code);
        changes.from[changes.count] = static_cast<std::uint8_t>(from);
        changes.to[changes.count] = static_cast<std::uint8_t>(to);
        ++changes.count;
    }
};

template <colour Mover> void toggle(pos &position, int code, bitboard squares)
{
    position.bitboards[code] ^= squares;
    position.bitboards[Mover] ^= squares;
}

/// Castling on the board alone. The order lets king and rook start on each other's targets.
template <colour Mover> void castleOnBoard(pos &position, moveCode move, rookTrip trip)
{
    constexpr pieceCode ownKing = pieceOf(king, Mover);
    constexpr pieceCode ownRook = pieceOf(rook, Mover);
    const int from = moveFrom(move);
    const int to = moveTo(move);
    toggle<Mover>(position, ownKing, bit(from) ^ bit(to));
    position.board[from] = emptySquare;
    position.board[to] = ownKing;
    toggle<Mover>(position, ownRook, bit(trip.from) ^ bit(trip.to));
    if (trip.from != to)
        position.board[trip.from] = emptySquare;
    position.board[trip.to] = ownRook;
}

template <colour Mover> void uncastleOnBoard(pos &position, moveCode move, rookTrip trip)
{
    constexpr pieceCode ownKing = pieceOf(king, Mover);
    constexpr pieceCode ownRook = pieceOf(rook, Mover);
    const int from = moveFrom(move);
    const int to = moveTo(move);
    toggle<Mover>(position, ownKing, bit(from) ^ bit(to));
    position.board[to] = emptySquare;
    position.board[from] = ownKing;
    toggle<Mover>(position, ownRook, bit(trip.from) ^ bit(trip.to));
    if (trip.to != from)
        position.board[trip.to] = emptySquare;
    position.board[trip.from] = ownRook;
}

/// The move on `board` and `bitboards`, the captured man included.
template <colour Mover> void moveOnBoard(pos &position, moveCode move, int captured)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int flag = moveFlagOf(move);
    const pieceCode piece = position.board[from];
    switch (flag)
    {
    case castleKingSide:
    case castleQueenSide:
        castleOnBoard<Mover>(position, move, castlingRook<Mover>(position, move));
        return;
    case enPassantCapture:
    {
        const int landing = enPassantLanding(Mover, move);
        position.board[to] = emptySquare;
        toggle<Mover>(position, piece, bit(from) ^ bit(landing));
        position.board[landing] = piece;
        position.board[from] = emptySquare;
        break;
    }
    case plainMove:
    case doubleStep:
        toggle<Mover>(position, piece, bit(from) ^ bit(to));
        position.board[to] = piece;
        position.board[from] = emptySquare;
        break;
    default:
    {
        const auto promoted = static_cast<pieceCode>(flag + Mover);
        position.bitboards[piece] ^= bit(from);
        position.bitboards[promoted] ^= bit(to);
        position.bitboards[Mover] ^= bit(from) ^ bit(to);
        position.board[to] = promoted;
        position.board[from] = emptySquare;
        break;
    }
    }
    if (captured != emptySquare)
        toggle<opponent(Mover)>(position, captured, bit(to));
}

template <colour Mover> void unmoveOnBoard(pos &position, moveCode move, pieceCode captured)
{
    constexpr pieceCode ownPawn = pieceOf(pawn, Mover);
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int flag = moveFlagOf(move);
    switch (flag)
    {
    case castleKingSide:
    case castleQueenSide:
        uncastleOnBoard<Mover>(position, move, castlingRook<Mover>(position, move));
        return;
    case enPassantCapture:
    {
        const int landing = enPassantLanding(Mover, move);
        toggle<Mover>(position, ownPawn, bit(from) ^ bit(landing));
        position.board[landing] = emptySquare;
        position.board[from] = ownPawn;
        position.board[to] = captured;
        break;
    }
    case plainMove:
    case doubleStep:
    {
        const pieceCode piece = position.board[to];
        toggle<Mover>(position, piece, bit(from) ^ bit(to));
        position.board[from] = piece;
        position.board[to] = captured;
        break;
    }
    default:
        position.bitboards[ownPawn] ^= bit(from);
        position.bitboards[flag + Mover] ^= bit(to);
        position.bitboards[Mover] ^= bit(from) ^ bit(to);
        position.board[from] = ownPawn;
        position.board[to] = captured;
        break;
    }
    if (captured != emptySquare)
        toggle<opponent(Mover)>(position, captured, bit(to));
}

/// The rights after the move: a king loses both of its own, a rook that leaves its square or is
/// captured there loses its own.
template <colour Mover> int rightsAfter(const pos &position, moveCode move, int piece, int rights)
{
    constexpr colour other = opponent(Mover);
    const int from = moveFrom(move);
    const int to = moveTo(move);
    int left = rights;
    if ((rights & castlingRightsOf(Mover)) != 0)
    {
        if (piece == pieceOf(king, Mover))
            left &= ~castlingRightsOf(Mover);
        else if (piece == pieceOf(rook, Mover))
        {
            if (from == position.castleRook[queenSide][Mover])
                left &= ~castlingRightOf(queenSide, Mover);
            else if (from == position.castleRook[kingSide][Mover])
                left &= ~castlingRightOf(kingSide, Mover);
        }
    }
    if ((rights & castlingRightsOf(other)) != 0)
    {
        if (to == position.castleRook[queenSide][other])
            left &= ~castlingRightOf(queenSide, other);
        else if (to == position.castleRook[kingSide][other])
            left &= ~castlingRightOf(kingSide, other);
    }
    return left;
}

/// Sums, keys and network marks of the mover's men, by kind of move. Before the board changes.
template <colour Mover> void logMove(pos &position, moveCode move, int piece, changeLog &log)
{
    constexpr pieceCode ownPawn = pieceOf(pawn, Mover);
    constexpr pieceCode ownKing = pieceOf(king, Mover);
    constexpr pieceCode ownRook = pieceOf(rook, Mover);
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int flag = moveFlagOf(move);
    combEval &squareScore = position.squareScore[Mover];
    switch (flag)
    {
    case castleKingSide:
    case castleQueenSide:
    {
        const rookTrip trip = castlingRook<Mover>(position, move);
        squareScore += squareValue<Mover>(king, to) - squareValue<Mover>(king, from);
        squareScore += squareValue<Mover>(rook, trip.to) - squareValue<Mover>(rook, trip.from);
        log.hashPawnToo(ownKing, from);
        log.hashPawnToo(ownKing, to);
        log.hash(ownRook, trip.from);
        log.hash(ownRook, trip.to);
        log.note(ownKing, from, to);
        log.note(ownRook, trip.from, trip.to);
        break;
    }
    case enPassantCapture:
    {
        const int landing = enPassantLanding(Mover, move);
        squareScore += squareValue<Mover>(pawn, landing) - squareValue<Mover>(pawn, from);
        log.hashPawnToo(piece, from);
        log.hashPawnToo(piece, landing);
        log.note(piece, from, landing);
        break;
    }
    case plainMove:
    case doubleStep:
    {
        const int type = typeOf(piece);
        squareScore += squareValue<Mover>(type, to) - squareValue<Mover>(type, from);
        const std::uint64_t step = pieceKey(piece, from) ^ pieceKey(piece, to);
        log.key ^= step;
        if (type == pawn || type == king)
            log.pawnKey ^= step;
        log.note(piece, from, to);
        break;
    }
    default:
    {
        const int promoted = flag + Mover;
        const int type = typeOf(promoted);
        position.material[Mover] += pieceValue[type] - pieceValue[pawn];
        squareScore += squareValue<Mover>(type, to) - squareValue<Mover>(pawn, from);
        position.phase = static_cast<std::int16_t>(position.phase + phaseValue[type]);
        log.hashPawnToo(ownPawn, from);
        log.hash(promoted, to);
        log.note(ownPawn, from, noSquare);
        log.note(promoted, noSquare, to);
        break;
    }
    }
}

template <colour Mover> void logCapture(pos &position, int captured, int square, changeLog &log)
{
    constexpr colour other = opponent(Mover);
    const int type = typeOf(captured);
    position.material[other] -= pieceValue[type];
    position.squareScore[other] -= squareValue<other>(type, square);
    position.phase = static_cast<std::int16_t>(position.phase - phaseValue[type]);
    log.hash(captured, square);
    if (type == pawn)
        log.pawnKey ^= pieceKey(captured, square);
    log.note(captured, square, noSquare);
}

template <colour Mover> void makeFor(pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int flag = moveFlagOf(move);
    const int piece = position.board[from];
    const posinfo &here = position.info[ply];
    posinfo &next = position.info[ply + 1];
    changeLog log{position.key, position.pawnKey, position.pieceChanges[ply + 1]};

    log.changes.count = 0;
    position.accumulatorBlocks[ply + 1].computed = false;
    const int captured = flag < castleKingSide ? position.board[to] : pieceCode{emptySquare};
    next.captured = static_cast<pieceCode>(captured);
    std::memcpy(next.savedMaterial, position.material, sizeof position.material);
    std::memcpy(next.savedSquareScore, position.squareScore, sizeof position.squareScore);
    next.savedPhase = position.phase;
    next.savedKey = position.key;
    next.savedPawnKey = position.pawnKey;
    next.savedFifty = position.fiftyCount;

    const int rights = here.castling;
    next.castling = static_cast<std::uint8_t>(rights);
    if (rights != 0)
    {
        const int left = rightsAfter<Mover>(position, move, piece, rights);
        next.castling = static_cast<std::uint8_t>(left);
        log.key ^= keys.castling[rights] ^ keys.castling[left];
    }
    if (here.enPassant != 0)
        log.key ^= keys.enPassant[fileOf(here.enPassant)];
    next.enPassant = 0;
    if (flag == doubleStep)
    {
        next.enPassant = static_cast<std::int8_t>(to);
        log.key ^= keys.enPassant[fileOf(to)];
    }
    log.key ^= keys.side;

    logMove<Mover>(position, move, piece, log);
    if (captured != emptySquare)
        logCapture<Mover>(position, captured, to, log);
    moveOnBoard<Mover>(position, move, captured);

    position.key = log.key;
    position.pawnKey = log.pawnKey;
    position.keyHistory[position.keyCount++] = log.key;
    position.fiftyCount =
        static_cast<std::int16_t>(captured != emptySquare || isPawn(piece) ? 0 : position.fiftyCount + 1);
    position.sideToMove = opponent(Mover);
}

template <colour Mover> void unmakeFor(pos &position, int ply, moveCode move)
{
    const posinfo &next = position.info[ply + 1];
    position.sideToMove = Mover;
    position.key = next.savedKey;
    position.pawnKey = next.savedPawnKey;
    --position.keyCount;
    position.fiftyCount = static_cast<std::int16_t>(next.savedFifty);
    unmoveOnBoard<Mover>(position, move, next.captured);
    std::memcpy(position.material, next.savedMaterial, sizeof position.material);
    std::memcpy(position.squareScore, next.savedSquareScore, sizeof position.squareScore);
    position.phase = next.savedPhase;
}

void makeAnyMove(pos &position, int ply, moveCode move)
{
    if (position.sideToMove == white)
        makeFor<white>(position, ply, move);
    else
        makeFor<black>(position, ply, move);
}

} // namespace

void makeMove(pos &position, int ply, moveCode move)
{
    makeAnyMove(position, ply, move);
    assert(isConsistent(position, ply + 1));
}

void unmakeMove(pos &position, int ply, moveCode move)
{
    if (position.sideToMove == black)
        unmakeFor<white>(position, ply, move);
    else
        unmakeFor<black>(position, ply, move);
    assert(isConsistent(position, ply));
}

std::uint64_t makeNullMove(pos &position, int ply)
{
    const std::uint64_t savedKey = position.key;
    position.sideToMove = static_cast<std::uint8_t>(opponent(position.sideToMove));
    position.key ^= keys.side;
    if (position.info[ply].enPassant != 0)
        position.key ^= keys.enPassant[fileOf(position.info[ply].enPassant)];
    position.info[ply].playedMove = noMove;

    if (position.accumulatorBlocks[ply].computed)
        position.accumulatorBlocks[ply + 1] = position.accumulatorBlocks[ply];
    else
        position.accumulatorBlocks[ply + 1].computed = false;
    position.pieceChanges[ply + 1].count = 0;
    position.pieceChanges[ply + 1].piece[0] = emptySquare;

    position.info[ply + 1] = position.info[ply];
    position.info[ply + 1].enPassant = 0;
    position.info[ply + 1].captured = emptySquare;
    assert(isConsistent(position, ply + 1));
    return savedKey;
}

void unmakeNullMove(pos &position, std::uint64_t savedKey)
{
    position.sideToMove = static_cast<std::uint8_t>(opponent(position.sideToMove));
    position.key = savedKey;
}

void makeBoardOnly(pos &position, int ply, moveCode move)
{
    const pieceCode captured = isCastling(move) ? pieceCode{emptySquare} : position.board[moveTo(move)];
    position.info[ply + 1].captured = captured;
    if (position.sideToMove == white)
        moveOnBoard<white>(position, move, captured);
    else
        moveOnBoard<black>(position, move, captured);
}

void unmakeBoardOnly(pos &position, int ply, moveCode move)
{
    if (position.sideToMove == white)
        unmoveOnBoard<white>(position, move, position.info[ply + 1].captured);
    else
        unmoveOnBoard<black>(position, move, position.info[ply + 1].captured);
}

bool leavesKingSafe(pos &position, int ply, moveCode move)
{
    makeBoardOnly(position, ply, move);
    const bool isSafe = !isKingAttacked(position, position.sideToMove);
    unmakeBoardOnly(position, ply, move);
    return isSafe;
}

void playGameMove(pos &position, moveCode move)
{
    // Room for the game moves to come and for the keys of a search path.
    constexpr int fullHistory = keyHistorySize - plyCount;
    constexpr int keptKeys = fullHistory / 2;
    if (position.keyCount >= fullHistory)
    {
        std::copy_n(position.keyHistory + position.keyCount - keptKeys, keptKeys, position.keyHistory);
        position.keyCount = keptKeys;
    }

    makeAnyMove(position, 0, move);
    posinfo &root = position.info[0];
    const posinfo &next = position.info[1];
    root.castling = next.castling;
    root.enPassant = next.enPassant;
    root.savedKey = next.savedKey;
    root.savedPawnKey = next.savedPawnKey;
    rebuildBitboards(position);
    refreshSums(position);
}

} // namespace tarvonel
