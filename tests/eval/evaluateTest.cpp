#include "eval/evaluate.h"

#include <cstdlib>

#include <gtest/gtest.h>

#include "board/pieceValues.h"
#include "eval/evaluationSupport.h"
#include "eval/network.h"
#include "eval/networkFile.h"
#include "support/sharedData.h"

namespace tarvonel
{

namespace
{

constexpr const char *queenUp = "4k3/pp3ppp/8/8/8/8/PP3PPP/3QK3 w - - 0 1";
constexpr const char *bareKings = "4k3/8/8/8/8/8/8/4K3 w - - 0 1";
constexpr const char *rookEnding = "4k3/8/8/8/8/8/8/R3K3 w - - 0 1";

/// Makes the running sums say what a test wants, whatever stands on the board.
void setBalance(pos &position, combEval value)
{
    position.material[white] = value;
    position.material[black] = 0;
    position.squareScore[white] = position.squareScore[black] = 0;
}

/// The score by hand, whatever the balance, with the terms as a test has set them.
int tunableHandSet(evaluationPosition &position)
{
    networkLimit = 0;
    const int score = evaluateTunable(0, *position);
    networkLimit = defaultNetworkLimit;
    return score;
}

struct choiceCase
{
    combEval balance;
    bool byNetwork;
};

const choiceCase choiceCases[] = {
    {X(0, 399), true},   {X(0, 400), false},   {X(0, -399), true},  {X(0, -400), false},
    {X(500, 300), true}, {X(-500, 399), true}, {X(0, 4000), false}, {X(-1, 400), false},
};

struct complexityCase
{
    const char *reason, *fen;
    int before, after; ///< end-game scores
};

const complexityCase complexityCases[] = {
    {"with pieces -102, held at 0", rookEnding, 10, 0},
    {"held at 0 from below", rookEnding, -10, 0},
    {"-102 in full", rookEnding, 1000, 898},
    {"a pawn ending: -24", bareKings, 1000, 976},
    {"nothing to change", rookEnding, 0, 0},
    {"pawns on both wings: 8 + 67 - 24", "4k3/p7/8/8/8/8/7P/4K3 w - - 0 1", 1000, 1051},
    {"the loser's score falls by as much", "4k3/p7/8/8/8/8/7P/4K3 w - - 0 1", -1000, -1051},
    {"d and e file are different wings", "4k3/8/8/8/8/8/3PP3/4K3 w - - 0 1", 1000, 1051},
    {"one wing: 8 - 24", "4k3/p7/8/8/8/8/3P4/4K3 w - - 0 1", 1000, 984},
    {"a black knight is a piece too: 8 + 67 - 102", "1n2k3/p7/8/8/8/8/7P/4K3 w - - 0 1", 1000, 973},
};

struct taperCase
{
    int mg, eg, phase, expected;
};

const taperCase taperCases[] = {
    {500, 0, 24, 500}, {500, 0, 26, 500}, {500, 0, 0, 0},  {0, 500, 0, 500},
    {100, 0, 12, 50},  {100, 10, 6, 32},  {-5, 0, 12, -2}, {-1, 0, 24, -1},
};

struct bishopCase
{
    const char *fen;
    int pairs; ///< white's minus black's
};

const bishopCase bishopCases[] = {
    {"4k3/8/8/8/8/8/8/B3K3 w - - 0 1", 0},      {"4k3/8/8/8/8/8/8/BB2K3 w - - 0 1", 1},
    {"4k3/8/8/8/8/8/8/B1B1K3 w - - 0 1", 1},    {"4k3/8/8/8/8/8/8/BBB1K3 w - - 0 1", 0},
    {"bb2k3/8/8/8/8/8/8/4K3 w - - 0 1", -1},    {"bb2k3/8/8/8/8/8/8/BB2K3 w - - 0 1", 0},
    {"bb2k3/8/8/8/8/8/8/BBBBK3 w - - 0 1", -1},
};

} // namespace

TEST(evaluate, endGameBalanceChoosesTheEvaluator)
{
    for (const choiceCase &c : choiceCases)
        for (const char *side : {"w", "b"})
        {
            evaluationPosition position(std::string("4k3/pp3ppp/8/8/8/8/PP3PPP/3QK3 ") + side + " - - 0 1");
            setBalance(*position, c.balance);
            const int byHand = (*side == 'w' ? 1 : -1) * handSetScore(*position);
            const int byNetwork = networkScore(*position, 0, position->phase);
            ASSERT_NE(byHand, byNetwork) << "the two evaluators cannot be told apart here";
            EXPECT_EQ(evaluate(0, *position), c.byNetwork ? byNetwork : byHand) << termText(c.balance) << side;
        }
}

TEST(evaluate, networkLimitOfZeroScoresEverythingByHand)
{
    evaluationPosition position(bareKings);
    networkLimit = 0;
    EXPECT_EQ(evaluate(0, *position), handSetScore(*position));
    networkLimit = defaultNetworkLimit;
}

TEST(evaluate, cacheHoldsWhitesViewOfBothEvaluators)
{
    for (const char *fen : {queenUp, bareKings})
        for (const bool mirrored : {false, true})
        {
            evaluationPosition position(mirrored ? mirrorFen(fen) : fen);
            evalCacheEntry &slot = position.evalCache[position->key % evalCacheSize];
            const int score = evaluate(0, *position);
            EXPECT_EQ(slot.key, position->key);
            EXPECT_EQ(slot.score, mirrored ? -score : score);

            slot.score = 123;
            EXPECT_EQ(evaluate(0, *position), mirrored ? -123 : 123) << "a hit is believed";

            slot.key ^= std::uint64_t{1} << 63;
            EXPECT_EQ(evaluate(0, *position), score) << "only the whole key is a hit";
            EXPECT_EQ(slot.key, position->key) << "and what stood there goes";
        }
}

TEST(evaluate, tempoGoesToTheSideToMove)
{
    evaluationPosition toMove(queenUp), waiting("4k3/pp3ppp/8/8/8/8/PP3PPP/3QK3 b - - 0 1");
    for (evaluationPosition *position : {&toMove, &waiting})
    {
        position->position->phase = 0;
        setBalance(**position, X(0, 1000));
    }
    EXPECT_EQ(handSetScore(*toMove) - handSetScore(*waiting), 2 * 17);
    toMove->phase = waiting->phase = fullPhase;
    EXPECT_EQ(handSetScore(*toMove) - handSetScore(*waiting), 2 * 25);
}

TEST(evaluate, complexityMovesTheEndGameScoreButNeverItsSign)
{
    const isolatedTerms guard;
    tunableTerms.frame = shippedTerms.frame;
    tunableTerms.frame.tempo = 0;
    for (const complexityCase &c : complexityCases)
    {
        evaluationPosition position(c.fen);
        setBalance(*position, X(0, c.before));
        position->phase = 0;
        EXPECT_EQ(tunableHandSet(position), c.after) << c.reason;
    }
}

TEST(evaluate, phaseTapersTowardZero)
{
    const isolatedTerms guard;
    for (const taperCase &c : taperCases)
    {
        evaluationPosition position(bareKings);
        setBalance(*position, X(c.mg, c.eg));
        position->phase = static_cast<std::int16_t>(c.phase);
        EXPECT_EQ(tunableHandSet(position), c.expected) << c.mg << ", " << c.eg << ", phase " << c.phase;
    }
}

TEST(evaluate, bishopPairIsExactlyTwoBishops)
{
    const isolatedTerms guard;
    tunableTerms.frame.bishopPair = X(0, 58);
    for (const bishopCase &c : bishopCases)
    {
        evaluationPosition position(c.fen);
        setBalance(*position, 0);
        position->phase = 0;
        EXPECT_EQ(tunableHandSet(position), 58 * c.pairs) << c.fen;
    }
}

TEST(evaluate, tunableTermsStartAsTheShippedOnesAndMoveAlone)
{
    for (const std::string &fen : mixedPositions)
    {
        evaluationPosition position(fen), fresh(fen), changed(fen);
        const int side = position->sideToMove == white ? 1 : -1;
        const int score = side * handSetScore(*position);
        EXPECT_EQ(tunableHandSet(fresh), score) << fen;

        tunableTerms.frame.tempo += X(48, 48);
        EXPECT_NEAR(tunableHandSet(changed), score + 48, 1) << fen; // it may cross 0, where rounding turns
        EXPECT_EQ(side * handSetScore(*changed), score) << fen;
        tunableTerms = shippedTerms;
    }
}

// Without the network that the figures were computed with, the unbalanced positions alone.
TEST(evaluate, equalsReferenceFigures)
{
    const std::vector<evaluationVector> references = readEvaluationVectors();
    if (references.empty())
        GTEST_SKIP() << "no reference figures here";
    const bool withNetwork = !vectorNetwork().empty();
    if (withNetwork)
    {
        ::testing::internal::CaptureStdout();
        ASSERT_TRUE(loadNetFile(vectorNetwork()));
        ::testing::internal::GetCapturedStdout();
    }
    int compared = 0;
    for (const evaluationVector &reference : references)
    {
        evaluationPosition position = positionOf(reference);
        if (!withNetwork && std::abs(egOf(balance(*position))) < defaultNetworkLimit)
            continue;
        ++compared;
        EXPECT_EQ(evaluate(0, *position), reference.score) << reference.fen;
    }
    EXPECT_GT(compared, 0);
}

} // namespace tarvonel
