#include "eval/network.h"

#include "eval/simd.h"

namespace tarvonel
{

namespace
{

using simd::activation;
using simd::chunkWeight;
using simd::vector32;

constexpr int sumVectors = hiddenOutputs / simd::lanes32;
constexpr int chunkStride = hiddenOutputs * simd::chunkInputs; ///< weights of one chunk of inputs
constexpr int maskBits = 64;
constexpr int inputMasks = networkInputs / simd::chunkInputs / maskBits;

/// The activations of the first layer, and a bit for each nonzero chunk.
struct firstLayer
{
    alignas(64) activation input[networkInputs];
    std::uint64_t nonzero[inputMasks];
};

void clipFirstLayer(const accumulatorBlock &block, colour sideToMove, firstLayer &layer)
{
    constexpr int masksPerView = inputMasks / colourCount;
    constexpr int blocksPerMask = maskBits / simd::clipBlockChunks;
    activation *out = layer.input;
    for (int mask = 0; mask < inputMasks; ++mask)
    {
        const colour view = mask < masksPerView ? sideToMove : opponent(sideToMove);
        const std::int16_t *lanes = block.accumulator[view] + mask % masksPerView * maskBits * simd::chunkInputs;
        std::uint64_t nonzero = 0;
        for (int i = 0; i < blocksPerMask; ++i)
        {
            nonzero |= std::uint64_t{simd::clipBlock(lanes, out)} << i * simd::clipBlockChunks;
            lanes += simd::clipBlockLanes;
            out += simd::clipBlockLanes;
        }
        layer.nonzero[mask] = nonzero;
    }
}

void loadBiases(vector32 *sums, const std::int32_t *biases)
{
    for (int v = 0; v < sumVectors; ++v)
        sums[v] = simd::load32(biases + v * simd::lanes32);
}

/// Adds the products of a chunk of inputs to all 32 sums.
inline void addChunk(vector32 *sums, const activation *input, const chunkWeight *weights, std::size_t chunk)
{
    const vector32 inputs = simd::broadcastChunk(input + chunk * simd::chunkInputs);
    const chunkWeight *column = weights + chunk * chunkStride;
    for (int v = 0; v < sumVectors; ++v)
        sums[v] = simd::multiplyAddChunk(sums[v], inputs, column + v * simd::lanes32 * simd::chunkInputs);
}

/// The same for two chunks.
inline void addTwoChunks(vector32 *sums, const activation *input, const chunkWeight *weights, std::size_t chunkA,
                         std::size_t chunkB)
{
    const vector32 inputsA = simd::broadcastChunk(input + chunkA * simd::chunkInputs);
    const vector32 inputsB = simd::broadcastChunk(input + chunkB * simd::chunkInputs);
    const chunkWeight *columnA = weights + chunkA * chunkStride;
    const chunkWeight *columnB = weights + chunkB * chunkStride;
    for (int v = 0; v < sumVectors; ++v)
    {
        const int offset = v * simd::lanes32 * simd::chunkInputs;
        sums[v] = simd::multiplyAddTwoChunks(sums[v], inputsA, columnA + offset, inputsB, columnB + offset);
    }
}

std::size_t popChunk(std::uint64_t &nonzero) { return static_cast<std::size_t>(popLowest(nonzero)); }

/// Multiplies only the nonzero chunks; usually most are zero.
template <bool TwoChunks> void firstHiddenLayer(const firstLayer &layer, activation *output)
{
    vector32 sums[sumVectors];
    loadBiases(sums, netWeights.hidden1Bias);
    const activation *input = layer.input;
    const chunkWeight *weights = netWeights.hidden1Chunks;
    for (std::uint64_t nonzero : layer.nonzero)
    {
        while (TwoChunks && moreThanOne(nonzero))
        {
            const std::size_t chunk = popChunk(nonzero);
            addTwoChunks(sums, input, weights, chunk, popChunk(nonzero));
        }
        while (nonzero != 0)
            addChunk(sums, input, weights, popChunk(nonzero));
        input += maskBits * simd::chunkInputs;
        weights += maskBits * chunkStride;
    }
    simd::activateSums(sums, output);
}

void secondHiddenLayer(const activation *input, activation *output)
{
    vector32 sums[sumVectors];
    loadBiases(sums, netWeights.hidden2Bias);
    for (std::size_t chunk = 0; chunk < hiddenOutputs / simd::chunkInputs; ++chunk)
        addChunk(sums, input, netWeights.hidden2Chunks, chunk);
    simd::activateSums(sums, output);
}

} // namespace

std::int32_t networkOutput(pos &position, int ply)
{
    updateAccumulators(position, ply);
    firstLayer layer;
    clipFirstLayer(position.accumulatorBlocks[ply], position.sideToMove, layer);
    alignas(64) activation hidden1[hiddenOutputs];
    netWeights.hidden1TwoChunks ? firstHiddenLayer<true>(layer, hidden1) : firstHiddenLayer<false>(layer, hidden1);
    alignas(64) activation hidden2[hiddenOutputs];
    secondHiddenLayer(hidden1, hidden2);

    const std::int32_t products = simd::dotProduct(hidden2, netWeights.outputChunks);
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
