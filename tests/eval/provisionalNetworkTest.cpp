#include "provisionalWeights.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "board/pieceValues.h"
#include "board/setup.h"
#include "eval/network.h"
#include "support/randomGames.h"

namespace tarvonel
{

namespace
{

constexpr combEval tempo = X(25, 17);

/// Material, piece squares and tempo of the hand-set evaluation, for the side to move.
int handSetBalance(const pos &position, int phase)
{
    const colour me = position.sideToMove;
    const colour enemy = opponent(me);
    const combEval balance = position.material[me] - position.material[enemy] + position.squareScore[me] -
                             position.squareScore[enemy] + tempo;
    return (mgOf(balance) * phase + egOf(balance) * (fullPhase - phase)) / fullPhase;
}

bool isAskedOfTheNetwork(const pos &position)
{
    constexpr int networkRange = 400;
    return std::abs(egOf(position.material[white] - position.material[black] + position.squareScore[white] -
                         position.squareScore[black])) < networkRange;
}

} // namespace

TEST(provisionalNetwork, scoresAsTheHandSetBalanceDoes)
{
    makeProvisionalWeights(netWeights);
    arrangeWeights();
    double differences = 0;
    double magnitudes = 0;
    int positions = 0;
    playRandomGames({5, 30, 250, false},
                    [&](pos &position, const bruteForce::letterBoard &)
                    {
                        if (!isAskedOfTheNetwork(position))
                            return;
                        const int phase = std::min<int>(position.phase, fullPhase);
                        position.accumulatorBlocks[0].computed = false;
                        const int expected = handSetBalance(position, phase);
                        const int score = networkScore(position, 0, phase);
                        differences += std::abs(score - expected);
                        magnitudes += std::abs(expected);
                        ++positions;
                    });
    ASSERT_GT(positions, 500);
    EXPECT_GT(magnitudes / positions, 100) << "the positions are too even to tell anything";
    EXPECT_LT(differences / positions, 15);
}

} // namespace tarvonel
