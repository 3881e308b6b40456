#include "board/makeMove.h"

#include <algorithm>
#include <cassert>
#include <cstring>

#include "board/attackTables.h"
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

/// Applies a move to `board` and `bitboards` alone.
struct boardUpdate
{
    pos &position;

    template <colour Side> void put(int code, int square)
    {
        toggle<Side>(code, bit(square));
        position.board[square] = static_cast<pieceCode>(code);
    }

    /// Leaves the square alone if the move has already put another piece there.
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

    /// Writes the piece to `board` again, in case moving another piece has emptied its square.
    void settle(int code, int /*from*/, int to) { position.board[to] = static_cast<pieceCode>(code); }

  private:
    template <colour Side> void toggle(int code, bitboard squares)
    {
        position.bitboards[code] ^= squares;
        position.bitboards[Side] ^= squares;
    }
};

/// Reverses `boardUpdate`: takes what was put, puts what was taken, moves back.
struct undoUpdate
{
    boardUpdate board;

    template <colour Side> void put(int code, int square) { board.take<Side>(code, square); }
    template <colour Side> void take(int code, int square) { board.put<Side>(code, square); }
    template <colour Side> void move(int code, int from, int to) { board.move<Side>(code, to, from); }
    void settle(int code, int from, int to) { board.settle(code, to, from); }
};

/// `boardUpdate` plus all incrementally kept state: keys (working copies), sums, phase and the piece
/// changes for the network.
struct incrementalUpdate
{
    boardUpdate board;
    std::uint64_t key;
    std::uint64_t pawnKey;
    pieceChange &changes;
    std::uint8_t changed = 0;

    template <colour Side> void put(int code, int square)
    {
        board.put<Side>(code, square);
        note(code, noSquare, square);
        count<Side>(code, square, 1);
    }

    template <colour Side> void take(int code, int square)
    {
        board.take<Side>(code, square);
        note(code, square, noSquare);
        count<Side>(code, square, -1);
    }

    template <colour Side> void move(int code, int from, int to)
    {
        board.move<Side>(code, from, to);
        note(code, from, to);
        hash(code, pieceKey(code, from) ^ pieceKey(code, to));
        const int type = typeOf(code);
        board.position.squareScore[Side] += squareValue<Side>(type, to) - squareValue<Side>(type, from);
    }

    void settle(int code, int from, int to) { board.settle(code, from, to); }

  private:
    template <colour Side> void count(int code, int square, int sign)
    {
        hash(code, pieceKey(code, square));
        const int type = typeOf(code);
        pos &position = board.position;
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

/// Passes each piece change of a move to `update`, the moving piece first, the captured one last.
/// `piece` is the moving piece, for flags that do not imply it.
template <colour Mover, typename Update> [[gnu::always_inline]] inline void
applyMove(Update &update, const pos &position, moveCode move, int piece, int captured)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    if (isCastling(move))
    {
        const int wing = moveFlagOf(move) - castleKingSide;
        update.template move<Mover>(whiteKing + Mover, from, to);
        update.template move<Mover>(whiteRook + Mover, position.castleRook[wing][Mover],
                                    wing == kingSide ? to - 1 : to + 1);
        update.settle(whiteKing + Mover, from, to); // the rook may have started there
    }
    else if (isPromotion(move))
    {
        update.template take<Mover>(whitePawn + Mover, from);
        update.template put<Mover>(moveFlagOf(move) + Mover, to);
    }
    else if (isEnPassant(move))
        update.template move<Mover>(whitePawn + Mover, from, enPassantLanding(Mover, move));
    else
        update.template move<Mover>(piece, from, to);
    if (captured != emptySquare)
        update.template take<opponent(Mover)>(captured, to);
}

/// The rights left to `Side` if its castling rook leaves the square or is captured on it.
template <colour Side> int rightsWithoutRook(const pos &position, int square, int rights)
{
    for (const int wing : {queenSide, kingSide})
        if (square == position.castleRook[wing][Side])
            return rights & ~castlingRightOf(wing, Side);
    return rights;
}

/// The rights after the move: a king's move loses both, a castling rook that moves or is captured one.
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
    incrementalUpdate update{{position}, position.key, position.pawnKey, position.pieceChanges[ply + 1]};

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
        update.key ^= keys.castling[rights] ^ keys.castling[left];
    }
    if (here.enPassant != 0)
        update.key ^= keys.enPassant[fileOf(here.enPassant)];
    next.enPassant = 0;
    if (flag == doubleStep)
    {
        next.enPassant = static_cast<std::int8_t>(to);
        update.key ^= keys.enPassant[fileOf(to)];
    }
    update.key ^= keys.side;

    applyMove<Mover>(update, position, move, piece, captured);
    update.changes.count = update.changed;

    position.key = update.key;
    position.pawnKey = update.pawnKey;
    position.keyHistory[position.keyCount++] = update.key;
    position.fiftyCount =
        static_cast<std::int16_t>(captured != emptySquare || isPawn(piece) ? 0 : position.fiftyCount + 1);
    position.sideToMove = opponent(Mover);
}

template <colour Mover> void undoPieceMoves(pos &position, moveCode move, int captured)
{
    undoUpdate update{{position}};
    applyMove<Mover>(update, position, move, position.board[moveTo(move)], captured);
}

template <colour Mover> void unmakeFor(pos &position, int ply, moveCode move)
{
    const posinfo &next = position.info[ply + 1];
    position.sideToMove = Mover;
    position.key = next.savedKey;
    position.pawnKey = next.savedPawnKey;
    --position.keyCount;
    position.fiftyCount = static_cast<std::int16_t>(next.savedFifty);
    undoPieceMoves<Mover>(position, move, next.captured);
    std::memcpy(position.material, next.savedMaterial, sizeof position.material);
    std::memcpy(position.squareScore, next.savedSquareScore, sizeof position.squareScore);
    position.phase = next.savedPhase;
}

void makeAnyMove(pos &position, int ply, moveCode move)
{
    withColour(position.sideToMove, [&]<colour Mover>() { makeFor<Mover>(position, ply, move); });
}

} // namespace

void makeMove(pos &position, int ply, moveCode move)
{
    makeAnyMove(position, ply, move);
    assert(isConsistent(position, ply + 1));
}

void unmakeMove(pos &position, int ply, moveCode move)
{
    withColour(opponent(position.sideToMove), [&]<colour Mover>() { unmakeFor<Mover>(position, ply, move); });
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
    boardUpdate update{position};
    withColour(position.sideToMove, [&]<colour Mover>() { applyMove<Mover>(update, position, move, piece, captured); });
}

void unmakeBoardOnly(pos &position, int ply, moveCode move)
{
    const int captured = position.info[ply + 1].captured;
    withColour(position.sideToMove, [&]<colour Mover>() { undoPieceMoves<Mover>(position, move, captured); });
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
    // Leaves room for the keys of a search path.
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

bool isBoardConsistent(const pos &position)
{
    posHead expected = position;
    rebuildBitboards(expected);
    return std::ranges::equal(expected.bitboards, position.bitboards);
}

bool isConsistent(const pos &position, int ply)
{
    const positionSums sums = computeSums(position);
    return isBoardConsistent(position) && position.key == computeKey(position, ply) &&
           position.pawnKey == computePawnKey(position) && sums.phase == position.phase &&
           std::ranges::equal(sums.material, position.material) &&
           std::ranges::equal(sums.squareScore, position.squareScore);
}

} // namespace tarvonel
