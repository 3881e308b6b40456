#include "provisionalWeights.h"

#include <algorithm>
#include <cmath>

#include <gtest/gtest.h>

#include "board/pieceValues.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "support/randomGames.h"

namespace tarvonel
{

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
                        const combEval whites = balance(position);
                        if (std::abs(egOf(whites)) >= defaultNetworkLimit)
                            return;
                        const combEval own = (position.sideToMove == white ? whites : -whites) + X(25, 17); // tempo
                        const int phase = std::min<int>(position.phase, fullPhase);
                        const int expected = (mgOf(own) * phase + egOf(own) * (fullPhase - phase)) / fullPhase;
                        position.accumulatorBlocks[0].computed = false;
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
