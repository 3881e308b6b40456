#include "eval/network.h"

#include <algorithm>
#include <limits>
#include <random>
#include <sstream>
#include <vector>

#include <gtest/gtest.h>

#include "board/pieceValues.h"
#include "board/setup.h"
#include "eval/accumulator.h"
#include "support/randomGames.h"
#include "support/syntheticNetwork.h"

namespace tarvonel
{

namespace
{

/// One layer by its definition; a single row of weights when there is one bias.
std::vector<std::int32_t> layerByDefinition(const std::vector<std::int32_t> &input, const std::int16_t *weights,
                                            const std::int32_t *biases, int outputs)
{
    std::vector<std::int32_t> sums;
    for (int o = 0; o < outputs; ++o)
    {
        std::int64_t sum = biases[o];
        for (const std::int32_t value : input)
            sum += std::int64_t{*weights++} * value;
        sums.push_back(static_cast<std::int32_t>(static_cast<std::uint32_t>(sum)));
    }
    return sums;
}

std::vector<std::int32_t> activated(std::vector<std::int32_t> sums)
{
    for (std::int32_t &sum : sums)
        sum = std::clamp(sum >> 6, 0, 127);
    return sums;
}

struct tracedPass
{
    std::vector<std::int32_t> input, hidden1, hidden2;
    std::int32_t output;
};

tracedPass passByDefinition(const pos &position)
{
    const networkWeights &net = netWeights;
    tracedPass pass;
    for (const colour view : {colour{position.sideToMove}, opponent(position.sideToMove)})
        for (const std::int16_t lane : position.accumulatorBlocks[0].accumulator[view])
            pass.input.push_back(std::clamp<int>(lane, 0, 127));
    pass.hidden1 = activated(layerByDefinition(pass.input, net.hidden1Weight[0], net.hidden1Bias, hiddenOutputs));
    pass.hidden2 = activated(layerByDefinition(pass.hidden1, net.hidden2Weight[0], net.hidden2Bias, hiddenOutputs));
    pass.output = layerByDefinition(pass.hidden2, net.outputWeight, &net.outputBias, 1)[0];
    return pass;
}

/// Holds the fast pass, the sums made afresh, to the definition.
tracedPass expectExactPass(pos &position)
{
    position.accumulatorBlocks[0].computed = false;
    const std::int32_t output = networkOutput(position, 0);
    tracedPass pass = passByDefinition(position);
    EXPECT_EQ(output, pass.output);
    return pass;
}

double shareAlive(const std::vector<std::int32_t> &activations)
{
    const auto zeros = std::count(activations.begin(), activations.end(), 0);
    return 1.0 - static_cast<double>(zeros) / static_cast<double>(activations.size());
}

} // namespace

TEST(network, hiddenLayerShiftsAndClamps)
{
    constexpr std::int32_t most = std::numeric_limits<std::int32_t>::max();
    const std::pair<std::int32_t, int> cases[] = {
        {0, 0},       {-1, 0},        {63, 0},     {64, 1},  {127, 1},    {8127, 126}, {8128, 127}, {8192, 127},
        {32768, 127}, {1 << 21, 127}, {most, 127}, {-64, 0}, {-32768, 0}, {-32769, 0}, {-most, 0},  {-most - 1, 0}};
    useSyntheticNetwork(); // no weights, so the biases alone decide
    std::fill_n(netWeights.hidden1Weight[0], hiddenOutputs * networkInputs, std::int16_t{0});
    for (std::size_t i = 0; i < std::size(cases); ++i)
        netWeights.hidden1Bias[i] = cases[i].first;
    arrangeWeights();
    ownedPosition position(startPositionFen);
    const tracedPass pass = expectExactPass(*position);
    for (std::size_t i = 0; i < std::size(cases); ++i)
        EXPECT_EQ(pass.hidden1[i], cases[i].second) << cases[i].first;
}

TEST(network, fastPassEqualsTheDefinition)
{
    // From an input that is nearly all alive to one that is nearly all zero.
    for (const int bias : {100, 60, 0, -30, -200})
    {
        useSyntheticNetwork({static_cast<std::uint64_t>(bias + 1000), bias});
        double alive[3] = {};
        int positions = 0;
        playRandomGames({7, 2, 60, false},
                        [&](pos &position, const bruteForce::letterBoard &)
                        {
                            const tracedPass pass = expectExactPass(position);
                            const std::vector<std::int32_t> *layers[] = {&pass.input, &pass.hidden1, &pass.hidden2};
                            for (std::size_t layer = 0; layer < std::size(layers); ++layer)
                                alive[layer] += shareAlive(*layers[layer]);
                            ++positions;
                        });
        if (bias != syntheticNetworkPlan().firstLayerBias)
            continue;
        for (const double share : alive)
            EXPECT_GT(share / positions, 0.3) << "the tests' own network is dead";
    }
}

// Where products are added in 16 bits before they are in 32, these weights would be the first to
// overflow, or stay just below it.
TEST(network, extremeWeightsStayExact)
{
    constexpr std::int16_t neighbours[][2] = {{127, 127}, {127, 2},   {127, 3},    {-128, -128},
                                              {-128, -1}, {-128, -2}, {127, -128}, {2, 127}};
    ownedPosition position(startPositionFen);
    useSyntheticNetwork();
    std::fill(std::begin(netWeights.featureBias), std::end(netWeights.featureBias), std::int16_t{127});
    std::fill_n(netWeights.featureWeight[0], std::size_t{featureCount} * accumulatorLanes, std::int16_t{0});
    for (const auto &pair : neighbours)
    {
        for (int o = 0; o < hiddenOutputs; ++o)
        {
            for (int k = 0; k < networkInputs; ++k)
                netWeights.hidden1Weight[o][k] = pair[k % 2];
            netWeights.hidden1Bias[o] = 64 * (3 * o + 5) - 127 * networkInputs / 2 * (pair[0] + pair[1]);
        }
        arrangeWeights();
        EXPECT_EQ(expectExactPass(*position).hidden1[31], 98) << pair[0] << " " << pair[1];
    }
}

TEST(network, arbitraryNumbersInTheFileWrap)
{
    std::mt19937_64 random(11);
    std::string bytes = syntheticNetworkBytes();
    for (std::size_t at = 12; at + 8 <= bytes.size(); at += 8)
    {
        const std::uint64_t bits = random();
        std::memcpy(bytes.data() + at, &bits, sizeof bits);
    }
    std::istringstream stream(bytes);
    ASSERT_TRUE(readNet(stream));
    playRandomGames({3, 2, 40, false},
                    [](pos &position, const bruteForce::letterBoard &) { expectExactPass(position); });
}

TEST(network, scoreWeighsTheOutputByTheMenOnTheBoard)
{
    const char *const kings = "8/5k2/8/8/8/8/2K5/8 w - - 0 1";
    const char *const twoPawns = "8/5k2/p7/8/8/8/2K4P/8 b - - 0 1";
    const struct
    {
        const char *fen;
        int clampedPhase;
        std::int32_t output;
        int score;
    } cases[] = {
        {kings, 0, 0, 0},
        {kings, 0, 27, 0},  // 27 x 880 = 23760
        {kings, 0, 28, 1},  // 24640
        {kings, 0, -25, 0}, // truncated towards zero
        {kings, 0, -28, -1},
        {twoPawns, 8, 24576, 1000},
        {twoPawns, 8, -24576, -1000},
        {startPositionFen, 24, 24576, 1400},
        {startPositionFen, 0, 24576, 1136},
        {startPositionFen, 24, 3'000'000, -3864}, // the product wraps at 32 bits
    };
    useSyntheticNetwork();
    std::fill(std::begin(netWeights.outputWeight), std::end(netWeights.outputWeight), 0); // the bias alone
    for (const auto &c : cases)
    {
        ownedPosition position(c.fen);
        netWeights.outputBias = c.output;
        arrangeWeights();
        EXPECT_EQ(networkScore(*position, 0, c.clampedPhase), c.score) << c.fen << " " << c.output;
    }
}

} // namespace tarvonel
