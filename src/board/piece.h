// Piece codes and types.
//
// code = 2 x type + 2 + colour: pawns are 2 and 3, kings 12 and 13, bit 0 is the colour, 0 is an
// empty square.
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

/// FEN letters by piece code.
inline constexpr std::string_view pieceLetters = "  PpNnBbRrQqKk";

} // namespace tarvonel
