// A move in 32 bits, and moves as text.
//
//   bits  0-7   from: the square that the piece leaves; for castling the king's
//         8-15  to: the destination; for en passant the captured pawn's square; for castling g1,
//               c1, g8 or c8 wherever the king started
//        16-23  flag: the kind of move
//        24-31  extra: the ordering score in a move list, the moving piece's code elsewhere
//
// Two moves are the same if their low 24 bits agree. 0 is no move; a played move of 0 is a null move.
#pragma once

#include <cstdint>
#include <string>

#include "board/piece.h"

namespace tarvonel
{

struct pos;

using moveCode = std::uint32_t;

enum moveFlag : int
{
    plainMove = 0,
    promoteKnight = 4, ///< the flag of a promotion is the new piece's white code
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

/// The square on which the capturing pawn of an en passant move lands.
constexpr int enPassantLanding(colour mover, moveCode move) { return moveTo(move) + forward(mover); }

/// The text of a move made by `side`: "e2e4", "e7e8q", "e1g1"; in Chess960 castling is king takes
/// rook. `noMove` gives "a1a1".
std::string moveText(moveCode move, colour side, const pos &position);

/// Parses the text of a move at ply 0 of `position`. Does not check legality; returns `noMove` if the
/// text is too short, names a square off the board, starts from an empty square or has an unknown
/// promotion letter.
moveCode parseMoveText(const std::string &text, const pos &position);

} // namespace tarvonel
