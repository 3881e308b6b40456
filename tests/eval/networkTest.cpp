#include "eval/network.h"

#include <algorithm>
#include <cstring>
#include <random>
#include <streambuf>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/pieceValues.h"
#include "board/setup.h"
#include "support/fuzzSeeds.h"
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

constexpr std::size_t descriptionLengthAt = 8, headEnd = 12;

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

/// Compares the fast pass, with fresh sums, with the definition.
tracedPass expectExactPass(pos &position)
{
    position.accumulatorBlocks[0].computed = false;
    const std::int32_t output = networkOutput(position, 0);
    tracedPass pass = passByDefinition(position);
    EXPECT_EQ(output, pass.output);
    return pass;
}

double shareNonzero(const std::vector<std::int32_t> &activations)
{
    const auto zeros = std::count(activations.begin(), activations.end(), 0);
    return 1.0 - static_cast<double>(zeros) / static_cast<double>(activations.size());
}

/// Fills a stretch, late in the file more often, where the small fields are, with noise or with one
/// number: 0, -1, or the ends of the ranges of 8, 16 and 32 bits.
void damage(std::string &bytes, std::mt19937_64 &random)
{
    const std::uint32_t numbers[] = {0,          0xFFFFFFFF, 0x7F7F7F7F, 0x80808080,
                                     0x7FFF7FFF, 0x80008000, 0x7FFFFFFF, 0x80000000};
    const std::uint32_t number = numbers[random() % std::size(numbers)];
    const bool isNoise = random() % 4 == 0;
    std::size_t at = bytes.size() - random() % ((bytes.size() - headEnd) >> random() % 12);
    for (const std::size_t end = at + (std::size_t{1} << random() % 25); at + 4 <= std::min(end, bytes.size()); at += 4)
    {
        const std::uint32_t next = isNoise ? static_cast<std::uint32_t>(random()) : number;
        std::memcpy(bytes.data() + at, &next, sizeof next);
    }
}

/// Reads the bytes in place; copying them into a stream would take most of the time.
struct bytesInPlace : std::streambuf
{
    explicit bytesInPlace(std::string &bytes) { setg(bytes.data(), bytes.data(), bytes.data() + bytes.size()); }
};

void fuzzFiles(unsigned seed, int files)
{
    const std::string sound = syntheticNetworkBytes();
    std::mt19937_64 random(seed);
    std::string bytes;
    for (int i = 0; i < files; ++i)
    {
        bytes = sound;
        for (std::size_t stretches = 1 + random() % 3; stretches > 0; --stretches)
            damage(bytes, random);
        const std::size_t description = random() % 128;
        bytes[descriptionLengthAt] = static_cast<char>(description);
        bytes.resize(sound.size() + random() % 256, 'x');
        const bool isLongEnough = bytes.size() >= sound.size() + description;
        bytesInPlace source(bytes);
        std::istream stream(&source);
        EXPECT_EQ(readNet(stream), isLongEnough) << i;
        EXPECT_EQ(netLoaded, isLongEnough) << i;
        if (isLongEnough)
            playRandomGames({static_cast<std::uint32_t>(random()), 1, 3, random() % 2 == 0},
                            [](pos &position, const bruteForce::letterBoard &)
                            {
                                expectExactPass(position);
                                networkScore(position, 0, fullPhase);
                            });
    }
}

} // namespace

TEST(network, fastPassEqualsTheDefinition)
{
    // From an input that is nearly all nonzero to one that is nearly all zero.
    for (const int bias : {100, 60, 0, -30, -200})
    {
        useSyntheticNetwork({static_cast<std::uint64_t>(bias + 1000), bias});
        double nonzero[3] = {};
        int positions = 0;
        playRandomGames({7, 2, 60, false},
                        [&](pos &position, const bruteForce::letterBoard &)
                        {
                            const tracedPass pass = expectExactPass(position);
                            const std::vector<std::int32_t> *layers[] = {&pass.input, &pass.hidden1, &pass.hidden2};
                            for (std::size_t layer = 0; layer < std::size(layers); ++layer)
                                nonzero[layer] += shareNonzero(*layers[layer]);
                            ++positions;
                        });
        if (bias != syntheticNetworkPlan().firstLayerBias)
            continue;
        for (const double share : nonzero)
            EXPECT_GT(share / positions, 0.3) << "the test network has too few nonzero activations";
    }
}

// If products are first added in 16 bits, these weights overflow or stay just below the limit.
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
        arrangeWeights(netWeights);
        EXPECT_EQ(expectExactPass(*position).hidden1[31], 98) << pair[0] << " " << pair[1];
    }
}

// Any file that is long enough is a network, and its sums wrap.
TEST(network, mutatedFilesAreReadByTheirSizeAndStayExact) { fuzzFiles(11, 40); }

TEST(slowNetwork, mutatedFilesAreReadByTheirSizeAndStayExact)
{
    forEachFuzzSeed(2, [](unsigned seed) { fuzzFiles(seed, 100); });
}

TEST(network, scoreScalesTheOutputByMaterial)
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
        arrangeWeights(netWeights);
        EXPECT_EQ(networkScore(*position, 0, c.clampedPhase), c.score) << c.fen << " " << c.output;
    }
}

} // namespace tarvonel
