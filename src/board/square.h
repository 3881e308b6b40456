// Squares, files, ranks and colours.
//
// Squares are numbered 0 (a1) to 7 (h1) up to 63 (h8); square ^ 56 is the same square seen by the
// other colour.
#pragma once

#include <string>
#include <string_view>

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
    noSquare = 65, ///< off the board; also an unknown castling rook
};

enum fileName : int { fileA, fileB, fileC, fileD, fileE, fileF, fileG, fileH };
enum rankName : int { rank1, rank2, rank3, rank4, rank5, rank6, rank7, rank8 };
// clang-format on

using colour = int;
inline constexpr colour white = 0;
inline constexpr colour black = 1;
inline constexpr int colourCount = 2;

/// XOR mask that mirrors a square vertically.
inline constexpr int flipRanks = 56;

constexpr colour opponent(colour side) { return side ^ 1; }

/// Calls a template with a colour known only at run time: `f.operator()<side>()`.
template <typename F> constexpr decltype(auto) withColour(colour side, F &&f)
{
    return side == white ? f.template operator()<white>() : f.template operator()<black>();
}

constexpr int fileOf(int square) { return square & 7; }
constexpr int rankOf(int square) { return square >> 3; }
constexpr int squareAt(int file, int rank) { return rank * 8 + file; }

/// The square seen by `side`: a1 and, for black, a8 become a1.
constexpr int relativeSquare(colour side, int square) { return side == white ? square : square ^ flipRanks; }

/// The rank seen by `side`: 0 is its own back rank.
constexpr int relativeRank(colour side, int square) { return side == white ? rankOf(square) : 7 - rankOf(square); }

/// Index into a table laid out with a8 first, as `side` reads it.
constexpr int tableSquare(colour side, int square) { return side == white ? square ^ flipRanks : square; }

/// One pawn step of `side`: +8 or -8.
constexpr int forward(colour side) { return side == white ? 8 : -8; }

/// "e4" for 28.
inline std::string squareText(int square)
{
    return {static_cast<char>('a' + fileOf(square)), static_cast<char>('1' + rankOf(square))};
}

/// The square that the text begins with, or `noSquare`.
constexpr int parseSquare(std::string_view text)
{
    if (text.size() < 2 || text[0] < 'a' || text[0] > 'h' || text[1] < '1' || text[1] > '8')
        return noSquare;
    return squareAt(text[0] - 'a', text[1] - '1');
}

} // namespace tarvonel
