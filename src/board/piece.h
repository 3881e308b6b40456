// Piece codes and types.
//
// code = 2 x type + 2 + colour: 2 and 3 are the pawns, 12 and 13 the kings, the colour is bit 0;
// 0 is the empty square. So a piece of the side to move reads as its white code in
// code - sideToMove, and bitboards[code & 1] is the set of all men of its colour.
#pragma once

#include <cstdint>
#include <string_view>

#include "board/square.h"

namespace tarvonel
{

using pieceCode = std::uint8_t;

enum pieceType : int
{
    pawn,
    knight,
    bishop,
    rook,
    queen,
    king
};
inline constexpr int pieceTypeCount = 6;

// clang-format off
enum pieceName : pieceCode
{
    emptySquare = 0,
    whitePawn = 2,    blackPawn,
    whiteKnight = 4,  blackKnight,
    whiteBishop = 6,  blackBishop,
    whiteRook = 8,    blackRook,
    whiteQueen = 10,  blackQueen,
    whiteKing = 12,   blackKing,
};
// clang-format on

inline constexpr int pieceCodeCount = 14; ///< size of a table indexed by piece code
inline constexpr int firstPieceCode = 2;  ///< tables of 12 rows are indexed by code - firstPieceCode
inline constexpr int pieceKinds = 12;     ///< six types in two colours
inline constexpr int maxPiecesPerSide = 16;

constexpr int typeOf(int code) { return (code - firstPieceCode) >> 1; }
constexpr colour colourOf(int code) { return code & 1; }
constexpr pieceCode pieceOf(int type, colour side) { return static_cast<pieceCode>(2 * type + firstPieceCode + side); }

constexpr bool isPawn(int code) { return (code & ~1) == whitePawn; }
constexpr bool isKing(int code) { return code >= whiteKing; }

/// Letter by piece code.
inline constexpr std::string_view pieceLetters = "  PpNnBbRrQqKk";

} // namespace tarvonel
