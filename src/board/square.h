// Squares, files, ranks and colours.
//
// A square is a number from 0 (a1) over 7 (h1) to 63 (h8); the view of the other colour is
// square ^ 56.
#pragma once

#include <string>

namespace tarvonel
{

// clang-format off
enum squareName : int
{
    a1, b1, c1, d1, e1, f1, g1, h1,
    a2, b2, c2, d2, e2, f2, g2, h2,
    a3, b3, c3, d3, e3, f3, g3, h3,
    a4, b4, c4, d4, e4, f4, g4, h4,
    a5, b5, c5, d5, e5, f5, g5, h5,
    a6, b6, c6, d6, e6, f6, g6, h6,
    a7, b7, c7, d7, e7, f7, g7, h7,
    a8, b8, c8, d8, e8, f8, g8, h8,
    squareCount = 64,
    noSquare = 65, ///< a place off the board, and a castling rook not yet known
};
// clang-format on

enum fileName : int
{
    fileA,
    fileB,
    fileC,
    fileD,
    fileE,
    fileF,
    fileG,
    fileH
};
enum rankName : int
{
    rank1,
    rank2,
    rank3,
    rank4,
    rank5,
    rank6,
    rank7,
    rank8
};

using colour = int;
inline constexpr colour white = 0;
inline constexpr colour black = 1;
inline constexpr int colourCount = 2;

/// Turns a square over to the other colour's view.
inline constexpr int flipRanks = 56;

constexpr colour opponent(colour side) { return side ^ 1; }
constexpr int fileOf(int square) { return square & 7; }
constexpr int rankOf(int square) { return square >> 3; }
constexpr int squareAt(int file, int rank) { return rank * 8 + file; }

/// The square as `side` sees it from its own back rank, a1 for a1 or a8.
constexpr int relativeSquare(colour side, int square) { return side == white ? square : square ^ flipRanks; }

/// The rank counted from 0 at `side`'s own back rank.
constexpr int relativeRank(colour side, int square) { return side == white ? rankOf(square) : 7 - rankOf(square); }

/// A square as index of a table laid out in black's view (a8 first), read by `side`.
constexpr int tableSquare(colour side, int square) { return side == white ? square ^ flipRanks : square; }

/// One step ahead for a pawn of `side`: +8 or -8.
constexpr int forward(colour side) { return side == white ? 8 : -8; }

/// "e4" for 28.
inline std::string squareText(int square)
{
    return {static_cast<char>('a' + fileOf(square)), static_cast<char>('1' + rankOf(square))};
}

} // namespace tarvonel
