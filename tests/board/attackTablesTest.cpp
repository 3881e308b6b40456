#include "board/attackTables.h"

#include <initializer_list>
#include <random>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "support/bruteForce.h"
#include "support/randomGames.h"

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

/// Attacks walked step by step along the given directions, blockers included.
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

TEST(attackTables, slidersSeeUpToTheFirstMan)
{
    std::mt19937_64 random(11);
    for (int square = 0; square < squareCount; ++square)
    {
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

TEST(attackTables, leapersDoNotWrapAroundTheBoard)
{
    for (int square = 0; square < squareCount; ++square)
    {
        EXPECT_EQ(knightAttacks[square], walk(square, jumpSteps, 0, 1));
        EXPECT_EQ(kingAttacks[square], walk(square, straightSteps, 0, 1) | walk(square, diagonalSteps, 0, 1));
    }
}

TEST(attackTables, pawnAttackersStandOnRanksThatPawnsReach)
{
    EXPECT_EQ(pawnAttackers[white][e4], setOf({d3, f3}));
    EXPECT_EQ(pawnAttackers[white][a4], setOf({b3}));
    EXPECT_EQ(pawnAttackers[black][h4], setOf({g5}));
    EXPECT_EQ(pawnAttackers[white][e2], 0U);
    EXPECT_EQ(pawnAttackers[black][e7], 0U);
    EXPECT_EQ(pawnAttackers[white][e3], setOf({d2, f2}));
    EXPECT_EQ(pawnAttackers[black][e6], setOf({d7, f7}));

    EXPECT_EQ(epNeighbours[a4], setOf({b4}));
    EXPECT_EQ(epNeighbours[h5], setOf({g5}));
    EXPECT_EQ(epNeighbours[d5], setOf({c5, e5}));
    EXPECT_EQ(epNeighbours[e3], 0U);
    EXPECT_EQ(epNeighbours[e6], 0U);
}

TEST(attackTables, betweenAndLineJoinSquaresOnOneLineOnly)
{
    EXPECT_EQ(between[a1][a8], setOf({a2, a3, a4, a5, a6, a7}));
    EXPECT_EQ(between[a1][c3], setOf({b2}));
    EXPECT_EQ(between[h1][f3], setOf({g2}));
    EXPECT_EQ(line[a1][b3], 0U);
    EXPECT_EQ(line[a1][h8], setOf({a1, b2, c3, d4, e5, f6, g7, h8}));
    EXPECT_EQ(line[c1][d1], rank1Bits);
    EXPECT_EQ(distance[a1][h8], 7);
    EXPECT_EQ(distance[b3][c6], 3);
    for (int from = 0; from < squareCount; ++from)
    {
        for (int to = 0; to < squareCount; ++to)
        {
            // A square lies between two others if a slider sees it from both ends with both occupied.
            const bitboard ends = bit(from) | bit(to);
            bitboard expected = 0;
            for (auto *const attacks : {&rookAttacks, &bishopAttacks})
                if ((attacks(from, 0) & bit(to)) != 0)
                    expected = attacks(from, ends) & attacks(to, ends);
            EXPECT_EQ(between[from][to], expected);
            EXPECT_EQ(line[from][to] != 0, from != to && ((queenAttacks(from, 0) & bit(to)) != 0));
            EXPECT_EQ(line[from][to], line[to][from]);
            if (line[from][to] != 0)
            {
                EXPECT_EQ(line[from][to] & (ends | expected), ends | expected);
            }
        }
    }
}

struct maskCase
{
    const char *what;
    bitboard actual, expected;
};

TEST(attackTables, evaluationMasksKeepToTheBoard)
{
    const maskCase cases[] = {
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
        {"beside the a-file", adjacentFiles[a5], fileBits(fileB)},
        {"beside the h-file", adjacentFiles[h1], fileBits(fileG)},
        {"beside the d-file", adjacentFiles[d8], fileBits(fileC) | fileBits(fileE)},
    };
    for (const maskCase &mask : cases)
        EXPECT_EQ(mask.actual, mask.expected) << mask.what;
}

TEST(attackTables, reductionsGrowWithDepthAndMoveNumber)
{
    const int cases[][3] = {{0, 3, 1},   {0, 4, 0},      {1, 4, 0},  {3, 5, 1},
                            {10, 30, 5}, {127, 255, 59}, {50, 2, 0}, {50, 0, 0}};
    for (const auto &[depth, moveNumber, expected] : cases)
        EXPECT_EQ(reductionTable[depth][moveNumber], expected) << depth << ' ' << moveNumber;
}

TEST(attackTables, attackTestFollowsTheRules)
{
    playRandomGames({.seed = 21, .games = 10, .plies = 120},
                    [](pos &position, const bruteForce::letterBoard &board)
                    {
                        for (int square = 0; square < squareCount; ++square)
                            for (const colour attacker : {white, black})
                                EXPECT_EQ(isAttacked(position, square, attacker, occupancy(position)),
                                          bruteForce::isAttackedBy(board, square, attacker == white));
                    });
}

} // namespace
} // namespace tarvonel
