#include "eval/evaluate.h"

#include <algorithm>
#include <cstdlib>
#include <fstream>
#include <sstream>
#include <utility>

#include <gtest/gtest.h>

#include "board/pieceValues.h"
#include "eval/evaluationSupport.h"
#include "eval/network.h"
#include "eval/networkFile.h"
#include "support/randomGames.h"
#include "support/sharedData.h"
#include "support/syntheticNetwork.h"

namespace tarvonel
{

namespace
{

constexpr const char *queenUp = "4k3/pp3ppp/8/8/8/8/PP3PPP/3QK3 w - - 0 1";
constexpr const char *bareKings = "4k3/8/8/8/8/8/8/4K3";
constexpr const char *rookEnding = "4k3/8/8/8/8/8/8/R3K3";

/// Overrides the running sums, whatever is on the board.
void setBalance(pos &position, combEval value, int phase)
{
    position.material[white] = value;
    position.material[black] = 0;
    position.squareScore[white] = position.squareScore[black] = 0;
    position.phase = static_cast<std::int16_t>(phase);
}

/// The hand-set score by the tunable terms, white to move.
int tunableHandSet(const char *board, combEval balance, int phase)
{
    evaluationPosition position(std::string(board) + " w - - 0 1");
    setBalance(*position, balance, phase);
    networkLimit = 0; // whatever the balance
    const int score = evaluateTunable(0, *position);
    networkLimit = defaultNetworkLimit;
    return score;
}

} // namespace

TEST(evaluate, endGameBalanceChoosesTheEvaluator)
{
    const struct
    {
        combEval balance;
        int limit;
        bool byNetwork;
    } cases[] = {
        {X(0, 399), 400, true},   {X(0, 400), 400, false},   {X(0, -399), 400, true},  {X(0, -400), 400, false},
        {X(500, 300), 400, true}, {X(-500, 399), 400, true}, {X(0, 4000), 400, false}, {X(0, 0), 0, false},
    };
    const std::pair<std::string, int> positions[] = {{queenUp, 4}, {mirrorFen(queenUp), 4}, {queenUp, 40}};
    useSyntheticNetwork();
    for (const auto &c : cases)
        for (const auto &[fen, phase] : positions)
        {
            evaluationPosition position(fen);
            setBalance(*position, c.balance, phase);
            const int byHand = (position->sideToMove == white ? 1 : -1) * handSetScore(*position);
            const int byNetwork = networkScore(*position, 0, std::min(phase, fullPhase));
            ASSERT_NE(networkScore(*position, 0, 40), networkScore(*position, 0, fullPhase));
            ASSERT_NE(byHand, byNetwork) << "the evaluators agree here";
            networkLimit = c.limit;
            EXPECT_EQ(evaluate(0, *position), c.byNetwork ? byNetwork : byHand) << termText(c.balance) << fen;
            networkLimit = defaultNetworkLimit;
        }
}

TEST(evaluate, cacheHoldsWhitesViewOfBothEvaluators)
{
    for (const std::string &fen : {std::string(queenUp), std::string(bareKings) + " w - - 0 1"})
        for (const bool mirrored : {false, true})
        {
            evaluationPosition position(mirrored ? mirrorFen(fen) : fen);
            evalCacheEntry &slot = position.tables->evalCache[position->key % evalCacheSize];
            const int score = evaluate(0, *position);
            EXPECT_EQ(slot.score, mirrored ? -score : score);
            slot.score = 123;
            EXPECT_EQ(evaluate(0, *position), mirrored ? -123 : 123) << "a hit is used";
            slot.key ^= std::uint64_t{1} << 63;
            EXPECT_EQ(evaluate(0, *position), score) << "only the whole key is a hit";
            EXPECT_EQ(slot.key, position->key) << "a miss overwrites the slot";
            const pawnEntry &pawns = evaluatePawns<shippedTerms>(*position);
            position.tables->clear();
            EXPECT_TRUE(slot.key == 0 && pawns.pawnKey == 0) << "clearing empties both tables";
        }
}

TEST(evaluate, complexityMovesTheEndGameScoreButNeverItsSign)
{
    const struct
    {
        const char *reason, *board;
        int before, after; ///< end-game scores
    } cases[] = {
        {"with pieces -102, held at 0", rookEnding, 10, 0},
        {"held at 0 from below", rookEnding, -10, 0},
        {"-102 in full", rookEnding, 1000, 898},
        {"a pawn ending: -24", bareKings, 1000, 976},
        {"nothing to change", rookEnding, 0, 0},
        {"pawns on both wings: 8 + 67 - 24", "4k3/p7/8/8/8/8/7P/4K3", 1000, 1051},
        {"the loser's score falls by as much", "4k3/p7/8/8/8/8/7P/4K3", -1000, -1051},
        {"d and e file are different wings", "4k3/8/8/8/8/8/3PP3/4K3", 1000, 1051},
        {"one wing: 8 - 24", "4k3/p7/8/8/8/8/3P4/4K3", 1000, 984},
        {"a black knight is a piece too: 8 + 67 - 102", "1n2k3/p7/8/8/8/8/7P/4K3", 1000, 973},
    };
    const isolatedTerms guard;
    tunableTerms.global = shippedTerms.global;
    tunableTerms.global.tempo = 0;
    for (const auto &c : cases)
        EXPECT_EQ(tunableHandSet(c.board, X(0, c.before), 0), c.after) << c.reason;
}

TEST(evaluate, bishopPairIsExactlyTwo)
{
    const std::pair<const char *, int> cases[] = {{"4k3/8/8/8/8/8/8/2B1K3", 0},   {"4k3/8/8/8/8/8/8/2BBK3", 1},
                                                  {"4k3/8/8/8/8/8/8/1BBBK3", 0},  {"2bbk3/8/8/8/8/8/8/4K3", -1},
                                                  {"2bbk3/8/8/8/8/8/8/2BBK3", 0}, {"2bbk3/8/8/8/8/8/8/1BBBK3", -1}};
    const isolatedTerms guard;
    tunableTerms.global.bishopPair = X(1, 1);
    for (const auto &[board, expected] : cases)
        EXPECT_EQ(tunableHandSet(board, 0, fullPhase), expected) << board;
}

TEST(evaluate, phaseTapersTowardZero)
{
    const struct
    {
        int mg, eg, phase, expected;
    } cases[] = {
        {500, 0, 24, 500}, {500, 0, 26, 500}, {500, 0, 0, 0},  {0, 500, 0, 500},
        {100, 0, 12, 50},  {100, 10, 6, 32},  {-5, 0, 12, -2}, {-1, 0, 24, -1},
    };
    const isolatedTerms guard;
    for (const auto &c : cases)
        EXPECT_EQ(tunableHandSet(bareKings, X(c.mg, c.eg), c.phase), c.expected)
            << c.mg << ", " << c.eg << ", phase " << c.phase;
}

TEST(evaluate, tunableTermsStartAsTheShippedOnesAndMoveAlone)
{
    evaluationPosition position(queenUp), fresh(queenUp), changed(queenUp);
    const int score = handSetScore(*position);
    EXPECT_NEAR(handSetScore(*evaluationPosition(mirrorFen(queenUp))), -score, 2) << "the tempo is the mover's";
    EXPECT_EQ(evaluateTunable(0, *fresh), score);
    tunableTerms.global.tempo += X(48, 48);
    EXPECT_EQ(evaluateTunable(0, *changed), score + 48);
    EXPECT_EQ(handSetScore(*changed), score);
    tunableTerms = shippedTerms;
}

// FEN;variant;network output;network score;pawn terms;piece terms;score. Terms are "mg,eg" from
// white's view. Without the network that the figures were computed with, what is by hand alone.
TEST(evaluate, equalsReferenceFigures)
{
    std::ifstream file(sharedDataPath("vectors/evaluation.txt"));
    if (!file)
        GTEST_SKIP() << "no reference figures here";
    const bool withNetwork = !vectorNetwork().empty();
    ASSERT_TRUE(!withNetwork || loadNetFile(vectorNetwork()));
    int compared = 0;
    for (std::string line; std::getline(file, line); ++compared)
    {
        std::istringstream fields(line);
        std::string fen, variant, output, networkFigure, pawnTerms, pieceTerms, score;
        for (std::string *field : {&fen, &variant, &output, &networkFigure, &pawnTerms, &pieceTerms, &score})
            std::getline(fields, *field, ';');
        const variantScope scope(variant == "960");
        evaluationPosition position(fen);
        const pawnEntry &pawns = evaluatePawns<shippedTerms>(*position);
        EXPECT_EQ(termText(pawns.score), pawnTerms) << fen;
        EXPECT_EQ(termText(evaluatePieces<shippedTerms>(*position, pawns)), pieceTerms) << fen;
        if (withNetwork)
        {
            const int phase = std::min<int>(position->phase, fullPhase);
            EXPECT_EQ(std::to_string(networkOutput(*position, 0)), output) << fen;
            EXPECT_EQ(std::to_string(networkScore(*position, 0, phase)), networkFigure) << fen;
        }
        if (withNetwork || std::abs(egOf(balance(*position))) >= defaultNetworkLimit)
        {
            EXPECT_EQ(std::to_string(evaluate(0, *position)), score) << fen;
        }
    }
    EXPECT_GT(compared, 100);
}

} // namespace tarvonel
