#include "board/attackTables.h"

#include <initializer_list>
#include <random>

#include <gtest/gtest.h>

namespace tarvonel
{
namespace
{

bitboard setOf(std::initializer_list<int> squares)
{
    bitboard set = 0;
    for (const int square : squares)
        set |= bit(square);
    return set;
}

/// Attacks by walking the given directions, up to and including blockers.
template <std::size_t N> bitboard walk(int square, const int (&steps)[N][2], bitboard occupied, int reach)
{
    bitboard attacks = 0;
    for (const auto &step : steps)
    {
        int file = fileOf(square) + step[0];
        int rank = rankOf(square) + step[1];
        for (int taken = 0; taken < reach && file >= 0 && file < 8 && rank >= 0 && rank < 8; ++taken)
        {
            attacks |= bit(squareAt(file, rank));
            if ((occupied & bit(squareAt(file, rank))) != 0)
                break;
            file += step[0];
            rank += step[1];
        }
    }
    return attacks;
}

const int straightSteps[4][2] = {{1, 0}, {-1, 0}, {0, 1}, {0, -1}};
const int diagonalSteps[4][2] = {{1, 1}, {-1, 1}, {1, -1}, {-1, -1}};
const int jumpSteps[8][2] = {{1, 2}, {2, 1}, {2, -1}, {1, -2}, {-1, -2}, {-2, -1}, {-2, 1}, {-1, 2}};

TEST(attackTables, slidersStopAtTheFirstPieceAndNothingWrapsAround)
{
    std::mt19937_64 random(11);
    for (int square = 0; square < squareCount; ++square)
    {
        EXPECT_EQ(knightAttacks[square], walk(square, jumpSteps, 0, 1));
        EXPECT_EQ(kingAttacks[square], walk(square, straightSteps, 0, 1) | walk(square, diagonalSteps, 0, 1));
        EXPECT_EQ(rookRays[square], walk(square, straightSteps, 0, 7));
        EXPECT_EQ(bishopRays[square], walk(square, diagonalSteps, 0, 7));
        for (int sample = 0; sample < 2000; ++sample)
        {
            const bitboard dense = random();
            const bitboard occupied = sample % 2 == 0 ? dense : dense & random() & random();
            ASSERT_EQ(rookAttacks(square, occupied), walk(square, straightSteps, occupied, 7));
            ASSERT_EQ(bishopAttacks(square, occupied), walk(square, diagonalSteps, occupied, 7));
        }
    }
}

TEST(attackTables, masksKeepToTheBoard)
{
    const struct
    {
        const char *what;
        bitboard actual, expected;
    } cases[] = {
        {"between on a file", between[a1][a8], setOf({a2, a3, a4, a5, a6, a7})},
        {"between on a diagonal", between[h1][f3], setOf({g2})},
        {"between on no line", between[a1][b3] | line[a1][b3], 0},
        {"line on a rank", line[d1][c1], rank1Bits},
        {"line on a diagonal", line[b2][g7], setOf({a1, b2, c3, d4, e5, f6, g7, h8})},
        {"white pawns around e4", pawnAttackers[white][e4], setOf({d3, f3})},
        {"on the edge", pawnAttackers[black][h4], setOf({g5})},
        {"no pawn on the first rank", pawnAttackers[white][e2], 0},
        {"no pawn on the last rank", pawnAttackers[black][e7], 0},
        {"en passant on the edge", epNeighbours[a4], setOf({b4})},
        {"en passant", epNeighbours[d5], setOf({c5, e5})},
        {"no en passant on the third rank", epNeighbours[e3], 0},
        {"zone of g1", kingZone[white][g1], setOf({f1, g1, h1, f2, g2, h2, f3, g3, h3, f4, g4, h4})},
        {"zone of a8", kingZone[white][a8], setOf({a5, b5, c5, a6, b6, c6, a7, b7, c7, a8, b8, c8})},
        {"zone of g8", kingZone[black][g8], setOf({f5, g5, h5, f6, g6, h6, f7, g7, h7, f8, g8, h8})},
        {"black zone of a1", kingZone[black][a1], setOf({a1, b1, c1, a2, b2, c2, a3, b3, c3, a4, b4, c4})},
        {"passed, e6", passedMask[white][e6], setOf({d7, e7, f7, d8, e8, f8})},
        {"passed, a3 for black", passedMask[black][a3], setOf({a2, b2, a1, b1})},
        {"passed, first rank", passedMask[white][e1], 0},
        {"passed, last rank for black", passedMask[black][e8], 0},
        {"ahead of rank 7", ranksAhead[white][c7], rankBits(rank7) | rankBits(rank8)},
        {"ahead of rank 2 for black", ranksAhead[black][c2], rankBits(rank1) | rankBits(rank2)},
        {"next to the a-file", adjacentFiles[a5], fileBits(fileB)},
        {"next to the d-file", adjacentFiles[d8], fileBits(fileC) | fileBits(fileE)},
    };
    for (const auto &mask : cases)
        EXPECT_EQ(mask.actual, mask.expected) << mask.what;
    EXPECT_EQ(distance[b3][c6], 3);
}

} // namespace
} // namespace tarvonel
