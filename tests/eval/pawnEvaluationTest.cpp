#include "eval/evaluate.h"

#include <gtest/gtest.h>

#include "eval/evaluationSupport.h"

namespace tarvonel
{

namespace
{

auto &pawns = tunableTerms.pawns;

// clang-format off
const isolatedCase pawnCases[] = {
    {"a king on the edge has the c file near", "4k3/8/8/8/8/8/2P5/K7", [] { pawns.isolatedNearKing = 1; }, 1},
    {"three pawns on a file: two are doubled", "4k3/8/8/8/4P3/4P3/4P3/4K3",
     [] { pawns.doubled[fileE] = 1; pawns.doubledNearKing = 10; }, 22},
    {"backward: stop square covered, no support; open for both, near for white", "4k3/8/8/2p5/4P3/3P4/8/4K3",
     [] { pawns.backwardOpen[fileD] = 10; pawns.backwardOpen[fileC] = 1; pawns.backwardNearKing = 100; }, 109},
    {"backward next to a neighbour on the same rank", "4k3/8/8/2p5/8/3PP3/8/4K3", [] { pawns.backwardNearKing = 1; }, 1},
    {"passed on the seventh: the enemy king is measured to the promotion square", "7k/P7/2K5/8/8/8/8/8",
     [] { pawns.passedEnemyKing[rank7] = 1; }, 7},
    {"passed on the fifth: both kings are measured to the stop square", "8/8/7k/P7/8/8/8/1K6",
     [] { pawns.passedEnemyKing[rank5] = 100; pawns.passedOwnKing[rank5] = 1; }, 705},
    {"supported from the rear, side by side on the rank", "4k3/8/8/8/8/2PP4/1P6/4K3",
     [] { pawns.supported[rank3] = 1; pawns.sideBySide[rank3] = 10; pawns.sideBySide[rank2] = 100; }, 21},
    {"passed square, seen from the owner's side", "7k/P7/2K5/8/8/8/1p6/8",
     [] { pawns.passedSquare[a2] = 10; pawns.passedSquare[b2] = 1; }, 9},
    {"candidate whose covered stop square a neighbour helps to win", "4k3/8/3p4/8/4PP2/8/8/4K3",
     [] { pawns.candidate[1][rank4] = 1; pawns.candidate[1][rank3] = 10; }, 1},
    {"storm with no pawns: three files for each king, held inside the board", "7k/8/8/8/8/8/8/K7",
     [] { int digit = 1; for (const int file : {fileA, fileB, fileC, fileF, fileG, fileH})
          { pawns.storm[0][file][7] = digit; digit *= 10; } }, 111 - 111000},
    {"an enemy pawn next to the king is at distance 0", "k7/8/8/8/3Kp3/8/8/8", [] { pawns.storm[2][fileE][0] = 1; }, 1},
    {"an enemy pawn on a lower rank does not count", "k7/8/8/8/3K4/4p3/8/8", [] { pawns.storm[2][fileE][7] = 1; }, 1},
    {"not blocked by one farther back", "6k1/8/8/8/6p1/8/6P1/6K1",
     [] { pawns.storm[3][fileG][3] = 1; pawns.storm[2][fileG][3] = 10; }, 10},
    {"nothing is blocked where no enemy pawn is", "7k/P7/8/8/8/8/8/K7",
     [] { pawns.storm[0][fileA][7] = 1; pawns.storm[1][fileA][7] = 10; }, 1},
    {"no own pawn but an enemy pawn six ranks off is not blocked", "7k/6p1/8/8/8/8/8/6K1",
     [] { pawns.storm[3][fileG][6] = 1; pawns.storm[2][fileG][6] = 10; }, 10},
};
// clang-format on

} // namespace

TEST(pawnEvaluation, termsByThemselves)
{
    expectIsolatedTerms(pawnCases,
                        [](evaluationPosition &position) { return evaluatePawns<tunableTerms>(*position).score; });
}

TEST(pawnEvaluation, coloursAreAlike)
{
    expectColoursAlike([](evaluationPosition &position) { return evaluatePawns<shippedTerms>(*position).score; });
}

TEST(pawnEvaluation, tableHitNeedsTheFullKey)
{
    evaluationPosition position("4k3/8/8/8/8/8/P7/4K3 w - - 0 1");
    pawnEntry &slot = position.tables->pawnTable[position->pawnKey % pawnTableSize];
    const combEval computed = evaluatePawns<shippedTerms>(*position).score;
    slot.score = computed + 77;
    EXPECT_EQ(evaluatePawns<shippedTerms>(*position).score, computed + 77);
    slot.pawnKey ^= std::uint64_t{1} << 63;
    slot.passed = ~bitboard{0};
    EXPECT_EQ(evaluatePawns<shippedTerms>(*position).score, computed);
    EXPECT_EQ(slot.passed, bit(a2));
    EXPECT_EQ(slot.pawnKey, position->pawnKey);
}

} // namespace tarvonel
