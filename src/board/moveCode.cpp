#include "board/moveCode.h"

#include <cstdlib>

#include "board/engineOptions.h"
#include "board/pos.h"

namespace tarvonel
{

namespace
{

/// Promotion letters; the flag is twice the index.
constexpr std::string_view promotionLetters = " pnbrqk";

constexpr std::size_t plainLength = 4;
constexpr std::size_t promotionLength = 5;

/// Castling on a wing, or `noMove` if its rook is not in place.
moveCode castlingMove(const pos &position, colour side, int king, int wing)
{
    const int rook = position.castleRook[wing][side];
    if (rook == noSquare || position.board[rook] != whiteRook + side)
        return noMove;
    return wing == kingSide ? encodeMove(king, relativeSquare(side, g1), castleKingSide)
                            : encodeMove(king, relativeSquare(side, c1), castleQueenSide);
}

/// Castling is king takes own rook in Chess960, a king's move by two files in standard chess.
moveCode parseKingMove(const pos &position, colour side, int from, int to, int flag)
{
    if (engineOptions.chess960 && position.board[to] == whiteRook + side)
    {
        for (const int wing : {queenSide, kingSide})
            if (to == position.castleRook[wing][side])
                return castlingMove(position, side, from, wing);
        return noMove;
    }
    if (!engineOptions.chess960 && from == relativeSquare(side, e1) && (to == from + 2 || to == from - 2))
        return castlingMove(position, side, from, to > from ? kingSide : queenSide);
    return encodeMove(from, to, flag);
}

moveCode parsePawnMove(const pos &position, colour side, int from, int to, int flag)
{
    constexpr int twoRanks = 16;
    if (fileOf(from) != fileOf(to) && position.board[to] == emptySquare)
    {
        const int victim = to - forward(side);
        return victim < 0 || victim >= squareCount ? noMove : encodeMove(from, victim, enPassantCapture);
    }
    if (std::abs(from - to) == twoRanks)
        return encodeMove(from, to, doubleStep);
    return encodeMove(from, to, flag);
}

} // namespace

std::string moveText(moveCode move, colour side, const pos &position)
{
    const int flag = moveFlagOf(move);
    int to = moveTo(move);
    if (flag == enPassantCapture)
        to = enPassantLanding(side, move);
    else if (isCastling(move) && engineOptions.chess960)
        to = position.castleRook[flag == castleKingSide ? kingSide : queenSide][side];

    std::string text = squareText(moveFrom(move)) + squareText(to);
    if (isPromotion(move))
        text += promotionLetters[static_cast<std::size_t>(flag / 2)];
    return text;
}

moveCode parseMoveText(const std::string &text, const pos &position)
{
    if (text.size() < plainLength)
        return noMove;
    const int from = parseSquare(text);
    const int to = parseSquare(std::string_view(text).substr(2));
    if (from == noSquare || to == noSquare)
        return noMove;
    const colour side = position.sideToMove;
    const int piece = position.board[from];
    if (piece == emptySquare)
        return noMove;

    int flag = plainMove;
    if (text.size() == promotionLength)
    {
        const std::size_t place = promotionLetters.find(text[plainLength]);
        flag = place == std::string_view::npos ? plainMove : 2 * static_cast<int>(place);
        if (flag < promoteKnight || flag > promoteQueen)
            return noMove;
    }
    if (piece == whiteKing + side)
        return parseKingMove(position, side, from, to, flag);
    if (piece == whitePawn + side)
        return parsePawnMove(position, side, from, to, flag);
    return encodeMove(from, to, flag);
}

} // namespace tarvonel
