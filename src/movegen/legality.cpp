#include "movegen/legality.h"

#include <cstdlib>
#include <utility>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/makeMove.h"
#include "movegen/generators.h"

namespace tarvonel
{

namespace
{

/// Whether an enemy slider outside `ignored` attacks the square.
bool isAttackedBySlider(const pos &position, int square, colour enemy, bitboard occupied, bitboard ignored)
{
    return (bishopAttacks(square, occupied) & diagonalSliders(position, enemy) & ~ignored) != 0 ||
           (rookAttacks(square, occupied) & straightSliders(position, enemy) & ~ignored) != 0;
}

bool isKingMoveLegal(pos &position, int ply, moveCode move)
{
    // In Chess960 the rook may uncover a slider on the back rank.
    if (isCastling(move) && engineOptions.chess960)
        return leavesKingSafe(position, ply, move);
    const int to = moveTo(move);
    const bitboard occupied = (occupancy(position) & ~bit(moveFrom(move))) | bit(to);
    return !isAttacked(position, to, opponent(position.sideToMove), occupied);
}

bool isCastlingValid(const pos &position, int ply, moveCode move)
{
    const colour side = position.sideToMove;
    const int wing = moveFlagOf(move) == castleKingSide ? kingSide : queenSide;
    return position.info[ply].inCheck == 0 && (position.info[ply].castling & castlingRightOf(wing, side)) != 0 &&
           moveTo(move) == castlingTarget(wing, side) &&
           position.board[position.castleRook[wing][side]] == pieceOf(rook, side) &&
           isCastlingPathFree(position, wing, side);
}

bool isPawnMoveValid(const pos &position, int ply, moveCode move)
{
    const colour side = position.sideToMove;
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int ahead = from + forward(side);
    switch (moveFlagOf(move))
    {
    case doubleStep:
        return position.board[to] == emptySquare && position.board[ahead] == emptySquare;
    case enPassantCapture:
    {
        const int pawnSquare = position.info[ply].enPassant;
        return pawnSquare != 0 && to == pawnSquare && (epNeighbours[pawnSquare] & bit(from)) != 0 &&
               position.board[to] == pieceOf(pawn, opponent(side)) &&
               position.board[enPassantLanding(side, move)] == emptySquare;
    }
    default:
    {
        const int span = std::abs(to - from);
        return from >= a2 && from <= h7 && span >= 7 && span <= 9 &&
               (position.board[to] == emptySquare) == (to == ahead);
    }
    }
}

/// Computes `inCheck` and generates the pseudo-legal moves, or evasions in check. Returns `inCheck`.
bool generateAll(int ply, moveCode *slot, pos &position)
{
    posinfo &node = position.info[ply];
    node.inCheck = isKingAttacked(position, position.sideToMove) ? 1 : 0;
    generateCaptures(ply, slot, position);
    if (node.inCheck != 0)
        return true;
    generateQuiets(ply, node.listEnd, position);
    return false;
}

} // namespace

bool isMoveLegalSlow(pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const colour side = position.sideToMove;
    if (isKing(position.board[from]))
        return isKingMoveLegal(position, ply, move);
    const bitboard occupied = occupancy(position);
    const int king = kingSquare(position, side);
    if (isEnPassant(move))
    {
        const bitboard changed = bit(from) | bit(to) | bit(enPassantLanding(side, move));
        return !isAttackedBySlider(position, king, opponent(side), occupied ^ changed, 0);
    }
    // A pinned piece may capture its pinner.
    return !isAttackedBySlider(position, king, opponent(side), (occupied & ~bit(from)) | bit(to), bit(to));
}

bool isMoveValid(const pos &position, int ply, moveCode move)
{
    const int from = moveFrom(move);
    const int to = moveTo(move);
    const int flag = moveFlagOf(move);
    if (move == noMove || moveExtra(move) != position.board[from])
        return false;
    const colour side = position.sideToMove;
    const int target = position.board[to];
    if (flag < castleKingSide && target != emptySquare && colourOf(target) == side)
        return false;
    if (isKing(target))
        return false;
    const int kind = position.board[from] - side;
    if (kind != whitePawn && flag > plainMove && flag < castleKingSide)
        return false;
    if (kind == whitePawn)
        return isPawnMoveValid(position, ply, move);
    if (kind == whiteKing && isCastling(move))
        return isCastlingValid(position, ply, move);
    const bool isOwnPiece = kind >= whiteKnight && kind % 2 == 0;
    return isOwnPiece && (pieceAttacks(typeOf(kind), from, occupancy(position)) & bit(to)) != 0;
}

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

    checks.discoverers = sliderBlockers(position, enemyKing, mover) & position.bitboards[mover];
    return checks;
}

// The enemy king is not in check before the move, so no slider attacks it by a move along a line to it,
// and a piece that leaves such a line can uncover only the slider beyond it.
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

void buildLegalList(int ply, moveCode *slot, pos &position)
{
    if (generateAll(ply, slot, position))
        return;
    posinfo &node = position.info[ply];
    moveCode *end = node.listEnd;
    for (moveCode *cursor = node.listStart; cursor < end;)
        if (!isMoveLegal(position, ply, *cursor))
            std::swap(*cursor, *--end);
        else
            ++cursor;
    node.listEnd = end;
    position.info[ply + 1].listStart = end;
}

int countLegalMoves(int ply, moveCode *slot, pos &position)
{
    const bool allLegal = generateAll(ply, slot, position);
    const posinfo &node = position.info[ply];
    auto count = static_cast<int>(node.listEnd - slot);
    if (allLegal)
        return count;
    // Only the king, pinned pieces and en passant captures can leave the king attacked.
    const colour side = position.sideToMove;
    const bitboard doubtful = position.bitboards[whiteKing + side] | (position.bitboards[side] & ~node.unpinned) |
                              epNeighbours[node.enPassant];
    for (const moveCode *move = slot; move < node.listEnd; ++move)
        if ((doubtful & bit(moveFrom(*move))) != 0 && !isMoveLegalSlow(position, ply, *move))
            --count;
    return count;
}

std::uint64_t perft(int ply, int depth, pos &position)
{
    moveCode *list = position.info[ply].listStart;
    const bool isStackFull = list - position.info[0].listStart > moveStackSize - 2 * moveListReserve;
    if (depth == 1 || isStackFull)
        return static_cast<std::uint64_t>(countLegalMoves(ply, list, position));
    buildLegalList(ply, list, position);
    std::uint64_t leaves = 0;
    const moveCode *end = position.info[ply].listEnd;
    for (const moveCode *move = list; move < end; ++move)
    {
        makeMove(position, ply, *move);
        leaves += perft(ply + 1, depth - 1, position);
        unmakeMove(position, ply, *move);
    }
    return leaves;
}

} // namespace tarvonel
