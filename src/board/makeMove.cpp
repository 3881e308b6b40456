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

template <colour Side> combEval squareValue(int type, int square)
{
    return pieceSquareScore[type][tableSquare(Side, square)];
}

/// Men come and go on `board` and `bitboards`.
struct boardMen
{
    pos &position;

    template <colour Side> void put(int code, int square)
    {
        toggle<Side>(code, bit(square));
        position.board[square] = static_cast<pieceCode>(code);
    }

    /// A square that another man of the same move has come to already stays his.
    template <colour Side> void take(int code, int square)
    {
        toggle<Side>(code, bit(square));
        if (position.board[square] == code)
            position.board[square] = emptySquare;
    }

    template <colour Side> void move(int code, int from, int to)
    {
        toggle<Side>(code, bit(from) ^ bit(to));
        position.board[from] = emptySquare;
        position.board[to] = static_cast<pieceCode>(code);
    }

    /// Board alone: `move` of another man may have emptied the square since this one came to it.
    void settle(int code, int /*from*/, int to) { position.board[to] = static_cast<pieceCode>(code); }

  private:
    template <colour Side> void toggle(int code, bitboard squares)
    {
        position.bitboards[code] ^= squares;
        position.bitboards[Side] ^= squares;
    }
};

/// The same backwards: what was put is taken, what moved returns.
struct returningMen
{
    boardMen men;

    template <colour Side> void put(int code, int square) { men.take<Side>(code, square); }
    template <colour Side> void take(int code, int square) { men.put<Side>(code, square); }
    template <colour Side> void move(int code, int from, int to) { men.move<Side>(code, to, from); }
    void settle(int code, int from, int to) { men.settle(code, to, from); }
};

/// The same with all that is kept about the men: keys (working copies), sums, phase and the marks
/// for the network.
struct countedMen
{
    boardMen men;
    std::uint64_t key;
    std::uint64_t pawnKey;
    pieceChange &changes;
    std::uint8_t changed = 0;

    template <colour Side> void put(int code, int square)
    {
        men.put<Side>(code, square);
        note(code, noSquare, square);
        count<Side>(code, square, 1);
    }

    template <colour Side> void take(int code, int square)
    {
        men.take<Side>(code, square);
        note(code, square, noSquare);
        count<Side>(code, square, -1);
    }

    template <colour Side> void move(int code, int from, int to)
    {
        men.move<Side>(code, from, to);
        note(code, from, to);
        hash(code, pieceKey(code, from) ^ pieceKey(code, to));
        const int type = typeOf(code);
        men.position.squareScore[Side] += squareValue<Side>(type, to) - squareValue<Side>(type, from);
    }

    void settle(int code, int from, int to) { men.settle(code, from, to); }

  private:
    template <colour Side> void count(int code, int square, int sign)
    {
        hash(code, pieceKey(code, square));
        const int type = typeOf(code);
        pos &position = men.position;
        position.material[Side] += sign * pieceValue[type];
        position.squareScore[Side] += sign * squareValue<Side>(type, square);
        position.phase = static_cast<std::int16_t>(position.phase + sign * phaseValue[type]);
    }

    void hash(int code, std::uint64_t change)
    {
        key ^= change;
        if (isPawn(code) || isKing(code))
            pawnKey ^= change;
    }

    void note(int code, int from, int to)
    {
        changes.piece[changed] = static_cast<std::uint8_t>(code);
        changes.from[changed] = static_cast<std::uint8_t>(from);
        changes.to[changed] = static_cast<std::uint8_t>(to);
        ++changed;
    }
};

/// What a move does to the men, the mover's first and the captured one last; `Men` says what becomes
/// of it. `piece` is the man that moves where the flag does not tell.
template <colour Mover, typename Men>
[[gnu::always_inline]] inline void moveMen(Men &men, const pos &position, moveCode move, int piece, int captured)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    if (isCastling(move))
    {
        const int wing = moveFlagOf(move) - castleKingSide;
        men.template move<Mover>(whiteKing + Mover, from, to);
        men.template move<Mover>(whiteRook + Mover, position.castleRook[wing][Mover],
                                 wing == kingSide ? to - 1 : to + 1);
        men.settle(whiteKing + Mover, from, to); // the rook may have started there
    }
    else if (isPromotion(move))
    {
        men.template take<Mover>(whitePawn + Mover, from);
        men.template put<Mover>(moveFlagOf(move) + Mover, to);
    }
    else if (isEnPassant(move))
        men.template move<Mover>(whitePawn + Mover, from, enPassantLanding(Mover, move));
    else
        men.template move<Mover>(piece, from, to);
    if (captured != emptySquare)
        men.template take<opponent(Mover)>(captured, to);
}

/// The rights of `Side` when its castling rook on the square, if one is there, has gone.
template <colour Side> int rightsWithoutRook(const pos &position, int square, int rights)
{
    for (const int wing : {queenSide, kingSide})
        if (square == position.castleRook[wing][Side])
            return rights & ~castlingRightOf(wing, Side);
    return rights;
}

/// The rights after the move: a king loses both of its own, a rook that leaves its square or is
/// captured there loses its own.
template <colour Mover> int rightsAfter(const pos &position, moveCode move, int piece, int rights)
{
    constexpr colour other = opponent(Mover);
    if ((rights & castlingRightsOf(Mover)) != 0)
    {
        if (piece == pieceOf(king, Mover))
            rights &= ~castlingRightsOf(Mover);
        else if (piece == pieceOf(rook, Mover))
            rights = rightsWithoutRook<Mover>(position, moveFrom(move), rights);
    }
    if ((rights & castlingRightsOf(other)) != 0)
        rights = rightsWithoutRook<other>(position, moveTo(move), rights);
    return rights;
}

template <colour Mover> void makeFor(pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int flag = moveFlagOf(move);
    const int piece = position.board[from];
    const posinfo &here = position.info[ply];
    posinfo &next = position.info[ply + 1];
    countedMen men{{position}, position.key, position.pawnKey, position.pieceChanges[ply + 1]};

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
        men.key ^= keys.castling[rights] ^ keys.castling[left];
    }
    if (here.enPassant != 0)
        men.key ^= keys.enPassant[fileOf(here.enPassant)];
    next.enPassant = 0;
    if (flag == doubleStep)
    {
        next.enPassant = static_cast<std::int8_t>(to);
        men.key ^= keys.enPassant[fileOf(to)];
    }
    men.key ^= keys.side;

    moveMen<Mover>(men, position, move, piece, captured);
    men.changes.count = men.changed;

    position.key = men.key;
    position.pawnKey = men.pawnKey;
    position.keyHistory[position.keyCount++] = men.key;
    position.fiftyCount =
        static_cast<std::int16_t>(captured != emptySquare || isPawn(piece) ? 0 : position.fiftyCount + 1);
    position.sideToMove = opponent(Mover);
}

/// `move` has been made by the side that is no longer to move.
template <colour Mover> void returnMen(pos &position, moveCode move, int captured)
{
    returningMen men{{position}};
    moveMen<Mover>(men, position, move, position.board[moveTo(move)], captured);
}

template <colour Mover> void unmakeFor(pos &position, int ply, moveCode move)
{
    const posinfo &next = position.info[ply + 1];
    position.sideToMove = Mover;
    position.key = next.savedKey;
    position.pawnKey = next.savedPawnKey;
    --position.keyCount;
    position.fiftyCount = static_cast<std::int16_t>(next.savedFifty);
    returnMen<Mover>(position, move, next.captured);
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
    const int piece = position.board[moveFrom(move)];
    boardMen men{position};
    if (position.sideToMove == white)
        moveMen<white>(men, position, move, piece, captured);
    else
        moveMen<black>(men, position, move, piece, captured);
}

void unmakeBoardOnly(pos &position, int ply, moveCode move)
{
    if (position.sideToMove == white)
        returnMen<white>(position, move, position.info[ply + 1].captured);
    else
        returnMen<black>(position, move, position.info[ply + 1].captured);
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
