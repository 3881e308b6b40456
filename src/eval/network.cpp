#include "eval/network.h"

#include <algorithm>

#include "eval/accumulator.h"
#include "eval/networkFile.h"
#include "eval/simd.h"

namespace tarvonel
{

namespace
{

using simd::activation;
using simd::groupWeight;
using simd::vector32;

constexpr int sumVectors = hiddenOutputs / simd::lanes32;
constexpr int groupStride = hiddenOutputs * simd::groupInputs; ///< weights of one group of inputs
constexpr int maskBits = 64;
constexpr int inputMasks = networkInputs / simd::groupInputs / maskBits;

/// The first layer's activations, and a bit for each group of them that is not all zero.
struct firstLayer
{
    alignas(64) activation input[networkInputs];
    std::uint64_t alive[inputMasks] = {};
};

void clipFirstLayer(const accumulatorBlock &block, colour sideToMove, firstLayer &layer)
{
    constexpr int blocksPerView = accumulatorLanes / simd::clipBlockLanes;
    for (int i = 0; i < 2 * blocksPerView; ++i)
    {
        const std::int16_t *lanes = block.accumulator[i < blocksPerView ? sideToMove : opponent(sideToMove)];
        const unsigned alive =
            simd::clipBlock(lanes + i % blocksPerView * simd::clipBlockLanes, layer.input + i * simd::clipBlockLanes);
        const int firstGroup = i * simd::clipBlockGroups;
        layer.alive[firstGroup / maskBits] |= std::uint64_t{alive} << firstGroup % maskBits;
    }
}

void loadBiases(vector32 *sums, const std::int32_t *biases)
{
    for (int v = 0; v < sumVectors; ++v)
        sums[v] = simd::load32(biases + v * simd::lanes32);
}

/// Adds the products of one group of inputs to all 32 sums.
inline void addGroup(vector32 *sums, const activation *input, const groupWeight *weights, std::size_t group)
{
    const vector32 inputs = simd::broadcastGroup(input + group * simd::groupInputs);
    const groupWeight *column = weights + group * groupStride;
    for (int v = 0; v < sumVectors; ++v)
        sums[v] = simd::multiplyAddGroups(sums[v], inputs, column + v * simd::lanes32 * simd::groupInputs);
}

/// The same for two groups.
inline void addTwoGroups(vector32 *sums, const activation *input, const groupWeight *weights, std::size_t groupA,
                         std::size_t groupB)
{
    const vector32 inputsA = simd::broadcastGroup(input + groupA * simd::groupInputs);
    const vector32 inputsB = simd::broadcastGroup(input + groupB * simd::groupInputs);
    const groupWeight *columnA = weights + groupA * groupStride;
    const groupWeight *columnB = weights + groupB * groupStride;
    for (int v = 0; v < sumVectors; ++v)
    {
        const int offset = v * simd::lanes32 * simd::groupInputs;
        sums[v] = simd::multiplyAddTwoGroups(sums[v], inputsA, columnA + offset, inputsB, columnB + offset);
    }
}

std::size_t popGroup(std::uint64_t &alive) { return static_cast<std::size_t>(popLowest(alive)); }

/// Most of the first layer is zero in most positions: only the groups that are not are multiplied.
template <bool TwoGroups> void firstHiddenLayer(const firstLayer &layer, activation *output)
{
    vector32 sums[sumVectors];
    loadBiases(sums, netWeights.hidden1Bias);
    const activation *input = layer.input;
    const groupWeight *weights = netWeights.hidden1Groups;
    for (std::uint64_t alive : layer.alive)
    {
        while (TwoGroups && moreThanOne(alive))
        {
            const std::size_t group = popGroup(alive);
            addTwoGroups(sums, input, weights, group, popGroup(alive));
        }
        while (alive != 0)
            addGroup(sums, input, weights, popGroup(alive));
        input += maskBits * simd::groupInputs;
        weights += maskBits * groupStride;
    }
    simd::activateSums(sums, output);
}

void secondHiddenLayer(const activation *input, activation *output)
{
    vector32 sums[sumVectors];
    loadBiases(sums, netWeights.hidden2Bias);
    for (std::size_t group = 0; group < hiddenOutputs / simd::groupInputs; ++group)
        addGroup(sums, input, netWeights.hidden2Groups, group);
    simd::activateSums(sums, output);
}

} // namespace

std::int32_t networkOutput(pos &position, int ply)
{
    updateAccumulators(position, ply);
    firstLayer layer;
    clipFirstLayer(position.accumulatorBlocks[ply], position.sideToMove, layer);
    alignas(64) activation hidden1[hiddenOutputs];
    netWeights.hidden1TwoGroups ? firstHiddenLayer<true>(layer, hidden1) : firstHiddenLayer<false>(layer, hidden1);
    alignas(64) activation hidden2[hiddenOutputs];
    secondHiddenLayer(hidden1, hidden2);

    const std::int32_t products = simd::dotProduct(hidden2, netWeights.outputGroups);
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(netWeights.outputBias) +
                                     static_cast<std::uint32_t>(products));
}

int networkScore(pos &position, int ply, int clampedPhase)
{
    const int pawns = popCount(position.bitboards[whitePawn] | position.bitboards[blackPawn]);
    const std::uint32_t product = static_cast<std::uint32_t>(networkOutput(position, ply)) *
                                  static_cast<std::uint32_t>(outputFactor(pawns, clampedPhase));
    return static_cast<std::int32_t>(product) / scoreDivisor;
}

} // namespace tarvonel
