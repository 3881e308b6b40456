#include "eval/evaluate.h"

#include <gtest/gtest.h>

#include "eval/evaluationSupport.h"

namespace tarvonel
{

namespace
{

template <const evalTerms &Terms> combEval pieceScore(evaluationPosition &position)
{
    return evaluatePieces<Terms>(*position, evaluatePawns<Terms>(*position));
}

template <typename number, std::size_t Size> void fill(number (&table)[Size], int value)
{
    for (number &entry : table)
        entry = value;
}

/// Entry n becomes n, so that a sum of entries is a count of squares.
template <typename number, std::size_t Size> void count(number (&table)[Size])
{
    for (std::size_t i = 0; i < Size; ++i)
        table[i] = static_cast<number>(i);
}

auto &pieces = tunableTerms.pieces;
auto &danger = tunableTerms.pieces.danger;

/// What 640 points of danger cost the side whose king is in danger.
constexpr combEval danger640 = X(100, 20);

// clang-format off
const isolatedCase pieceCases[] = {
    // pins and discovered checks
    {"a pinned knight has no squares", "4k3/4r3/8/8/8/4N3/8/4K3",
     [] { pieces.knightMobility[0] = 1; pieces.pinned[knight] = 10; }, 11},
    {"a pinned knight under a pawn", "4k3/4r3/8/8/3p4/4N3/8/4K3",
     [] { pieces.pinned[knight] = 1; pieces.pinnedUnderPawn[knight] = 10; }, 10},
    {"a bishop in front of a rook discovers", "4k3/8/8/8/4B3/8/8/K3R3", [] { pieces.discoverer[bishop] = 1; }, 1},

    // mobility
    {"a bishop sees through its queen", "8/7k/8/8/8/2Q5/1B6/K7", [] { count(pieces.bishopMobility); }, 8},
    {"a queen does not see through a rook on a diagonal", "7k/8/8/8/8/2R5/8/Q3K3",
     [] { count(pieces.queenMobility); }, 12},
    {"squares under pawns and of blocked pawns do not count", "4k3/8/8/8/1p6/3p4/3P4/1N2K3",
     [] { pieces.knightMobility[0] = 1; }, 1},
    {"an attack on the square between bars the double step only", "4k3/8/8/8/1p6/8/P7/1N2K3",
     [] { pieces.pawnMobility = 1; }, 1},
    {"an attack on its target does not bar it", "4k3/8/8/1p6/8/2N5/P7/4K3", [] { pieces.pawnMobility = 1; }, 2 - 1},
    {"an undefended step into an attack is not safe", "4k3/8/8/r7/8/8/P7/4K3", [] { pieces.pawnMobility = 1; }, 0},

    // placement
    {"shelter counts half without an enemy queen", "4k3/8/8/8/8/6P1/5PP1/6K1", [] { fill(pieces.kingShelter, 10); }, 10},
    {"the pawn nearest to the back rank shelters", "3qk3/8/8/8/8/6P1/5PP1/6K1",
     [] { pieces.kingShelter[g7] = 1; pieces.kingShelter[g6] = 10; }, 1},
    {"supported outpost", "4k3/8/8/3N4/4P3/8/8/4K3",
     [] { pieces.outpostSupported[knight] = 1; pieces.outpostBare[knight] = 10; }, 1},
    {"no outpost that a pawn may still drive off", "4k3/2p5/8/3N4/4P3/8/8/4K3",
     [] { pieces.outpostSupported[knight] = 1; }, 0},
    {"a pawn on its file or level with it cannot drive it off", "4k3/3p4/8/2pN4/4P3/8/8/4K3",
     [] { pieces.outpostSupported[knight] = 1; }, 1},
    {"a rook on the seventh, the king there too", "8/R3k3/8/8/8/8/8/4K3", [] { pieces.rookOnSeventh = 1; }, 1},
    {"not with the king before it, and not on the eighth", "3R4/R7/4k3/8/8/8/8/4K3", [] { pieces.rookOnSeventh = 1; }, 0},
    {"minor shielded by a pawn: the minor's rank counts", "4k3/8/2P1P3/2B1N3/4P3/4N3/8/4K3",
     [] { pieces.minorBehindPawn = 1; }, 1},
    {"a minor on the first rank does not", "4k3/8/8/8/8/8/1P6/1N2K3", [] { pieces.minorBehindPawn = 1; }, 0},
    {"a square to the rear of two pawns counts once, an attacked one not at all", "4k3/8/8/4P3/8/3pP3/8/4K3",
     [] { fill(pieces.spaceWeight, 1); }, 1 - 2},

    // threats
    {"a safe push threatens the king too", "8/8/4k3/8/2PP4/8/8/4K3", [] { pieces.pushThreat = 1; }, 1},
    {"what is attacked already is no push threat", "4k3/8/8/4n3/3P1P2/3P4/8/4K3", [] { pieces.pushThreat = 1; }, 0},
    {"not loose: defended by pawn and king", "4k3/8/8/3N3r/3KP3/8/8/8", [] { pieces.loosePiece = 1; }, 0},
    {"not loose but weak: undefended under a rook", "4k3/8/8/3N3r/8/8/8/4K3",
     [] { pieces.loosePiece = 1; pieces.weakMinorUnderHeavy = 10; }, 10},
    {"not weak: defended by a pawn against two", "3rk3/8/8/3N3r/4P3/8/8/4K3",
     [] { pieces.weakMinorUnderHeavy = 1; }, 0},
    {"weak: defended by the king alone against two", "3rk3/8/8/3N3r/4K3/8/8/8",
     [] { pieces.weakMinorUnderHeavy = 1; }, 1},
    {"rook attacked by knight and pawn", "4k3/8/2p2n2/3R4/8/8/8/4K3", [] { pieces.rookAttacked = 1; }, 1},

    // king danger
    {"a queen that bears on nothing is no danger", "q3k3/1p6/8/8/8/8/8/6K1", [] { danger.withQueen = 640; }, 0},
    {"two such queens are a danger", "qq2k3/1pp5/8/8/8/8/8/6K1", [] { danger.withQueen = 640; }, -danger640},
    {"squares under pawns are attackers, each by itself", "4k3/8/8/6p1/8/8/8/6K1",
     [] { danger.withoutQueen = 640; }, -danger640},
    {"danger up to the limit is harmless", "4k3/8/8/7q/8/8/8/6K1", [] { danger.harmless = danger.withQueen = 100; }, 0},
    {"one more is not", "4k3/8/8/7q/8/8/8/6K1", [] { danger.harmless = 100; danger.withQueen = 101; }, -X(2, 3)},
    {"eight squares of the flank, four of them twice", "4k3/8/7r/7r/8/8/8/6K1",
     [] { danger.flankAttack = 40; }, -danger640},
    {"not twice what a pawn holds", "4k3/8/7r/7r/8/8/6P1/6K1", [] { danger.flankAttack = 64; }, -X(196, 28)},
    {"a pinned pawn in the zone", "4k3/8/8/6rr/8/8/6P1/6K1", [] { danger.pinnedInZone = 640; }, -danger640},
    {"a pinned pawn outside the zone", "k5r1/8/7r/6Pr/8/8/8/6K1", [] { danger.pinnedInZone = 640; }, 0},
    {"a safe check by the queen, and none by rooks", "4k3/8/8/7q/8/8/8/6K1",
     [] { danger.queenCheck = 640; danger.rookCheck = 6400; }, -danger640},
    {"e1 is held by the queen alone: safe for the rook, not for the queen", "4r1k1/4qp1p/8/8/8/8/5PPP/1Q4K1",
     [] { danger.rookCheck = 640; danger.queenCheck = 6400; }, -danger640},
    {"the own queen does not block a check: c5", "4k3/8/8/7q/8/b7/5Q2/6K1",
     [] { danger.bishopCheck = 640; }, -danger640},
    {"a knight's safe check on e2", "4k3/8/8/6n1/3n4/8/6P1/6K1",
     [] { danger.knightCheck = 640; danger.unsafeCheck = 6400; }, -danger640},
    {"the bishop makes it unsafe; a pawn guards f3 and h3", "4k3/8/8/6n1/3n4/8/6P1/5BK1",
     [] { danger.knightCheck = 6400; danger.unsafeCheck = 640; }, -danger640},
};
// clang-format on

} // namespace

TEST(pieceEvaluation, termsByThemselves) { expectIsolatedTerms(pieceCases, pieceScore<tunableTerms>); }

TEST(pieceEvaluation, whiteKingsDangerDoesNotKnowBlacksPawnMobility)
{
    const isolatedTerms guard;
    pieces.pawnMobility = X(640, 0);
    const char *attackedWhiteKing = "4k3/p7/7r/7r/8/8/8/6K1 w - - 0 1";
    evaluationPosition position(attackedWhiteKing), mirrored(mirrorFen(attackedWhiteKing));
    EXPECT_EQ(pieceScore<tunableTerms>(position), -X(1280, 0));
    EXPECT_EQ(pieceScore<tunableTerms>(mirrored), X(1280, 0) + danger640);
}

TEST(pieceEvaluation, coloursAreAlikeApartFromPawnMobilityInDanger)
{
    pieces.pawnMobility = 0;
    expectColoursAlike(pieceScore<tunableTerms>);
    tunableTerms = shippedTerms;
}

} // namespace tarvonel
