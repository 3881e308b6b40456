#include "board/attackTables.h"

#include <random>

#include <gtest/gtest.h>

namespace tarvonel
{
namespace
{

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

} // namespace
} // namespace tarvonel
