// A move in 32 bits.
//
//   bits  0-7   from: the square that the piece leaves; for castling the king's
//         8-15  to: the destination; for an en passant capture the captured pawn's square; for
//               castling g1, c1, g8 or c8 wherever the king started
//        16-23  flag: the kind of move
//        24-31  extra: in a move list the ordering score, elsewhere the moving piece's code
//
// Two moves are the same when their low 24 bits agree. 0 is no move at all, and stands for a null
// move where a played move is recorded.
#pragma once

#include <cstdint>

#include "board/piece.h"

namespace tarvonel
{

using moveCode = std::uint32_t;

enum moveFlag : int
{
    plainMove = 0,
    promoteKnight = 4, ///< promotions: the flag is the new piece's white code
    promoteBishop = 6,
    promoteRook = 8,
    promoteQueen = 10,
    enPassantCapture = 12,
    doubleStep = 13,
    castleKingSide = 14,
    castleQueenSide = 15,
};

inline constexpr moveCode noMove = 0;
inline constexpr moveCode moveIdentityMask = 0x00FFFFFF;
inline constexpr int moveExtraShift = 24;

constexpr moveCode encodeMove(int from, int to, int flag = plainMove, int extra = 0)
{
    return static_cast<moveCode>(from) | static_cast<moveCode>(to) << 8 | static_cast<moveCode>(flag) << 16 |
           static_cast<moveCode>(extra) << moveExtraShift;
}

constexpr int moveFrom(moveCode move) { return static_cast<int>(move & 0xFF); }
constexpr int moveTo(moveCode move) { return static_cast<int>(move >> 8 & 0xFF); }
constexpr int moveFlagOf(moveCode move) { return static_cast<int>(move >> 16 & 0xFF); }
constexpr int moveExtra(moveCode move) { return static_cast<int>(move >> moveExtraShift); }
constexpr moveCode withExtra(moveCode move, int extra)
{
    return (move & moveIdentityMask) | static_cast<moveCode>(extra) << moveExtraShift;
}
constexpr bool sameMove(moveCode a, moveCode b) { return ((a ^ b) & moveIdentityMask) == 0; }

constexpr bool isCastling(moveCode move) { return moveFlagOf(move) >= castleKingSide; }
constexpr bool isPromotion(moveCode move)
{
    return moveFlagOf(move) >= promoteKnight && moveFlagOf(move) <= promoteQueen;
}
constexpr bool isEnPassant(moveCode move) { return moveFlagOf(move) == enPassantCapture; }

/// Where the capturing pawn of an en passant move lands: behind the captured pawn.
constexpr int enPassantLanding(colour mover, moveCode move) { return moveTo(move) + forward(mover); }

} // namespace tarvonel
