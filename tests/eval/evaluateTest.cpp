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

/// Overrides the running sums, whatever is on the board.
void setBalance(pos &position, combEval value, int phase)
{
    position.material[white] = value;
    position.material[black] = 0;
    position.squareScore[white] = position.squareScore[black] = 0;
    position.phase = static_cast<std::int16_t>(phase);
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
// white's view. Without the network of these figures only the hand-set terms are compared.
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
