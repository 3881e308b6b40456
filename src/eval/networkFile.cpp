#include "eval/networkFile.h"

#include <algorithm>
#include <fstream>

#include "platform/fileMapping.h"
#include "platform/largeMemory.h"
#include "platform/littleEndian.h"

namespace tarvonel
{

networkWeights netWeights;
relaxed<bool> netLoaded = false;

namespace
{

std::uint32_t readWord(std::istream &stream)
{
    std::uint32_t word = 0;
    readLittle(stream, &word, 1);
    return word;
}

/// Reads signed bytes into wider numbers.
template <std::size_t Count> void readWidened(std::istream &stream, std::int16_t *values)
{
    std::int8_t bytes[Count];
    readLittle(stream, bytes, Count);
    std::copy_n(bytes, stream.gcount(), values);
}

/// Index of the weight of an input for an output in a rearranged layer of 32 outputs.
constexpr int chunkedIndex(int input, int output)
{
    return (input / simd::chunkInputs * hiddenOutputs + output) * simd::chunkInputs + input % simd::chunkInputs;
}

/// The accumulator lane, 0 to 511, whose activation `clipBlock` writes to that index of the input.
constexpr int laneOfInput(int index)
{
    return index / simd::clipBlockLanes * simd::clipBlockLanes + simd::clippedLane(index % simd::clipBlockLanes);
}

/// The two largest weight sums of pairs of neighbouring inputs. Any two chunks may be multiplied at once if
/// these, times the largest activation, fit in 16 bits.
struct topTwo
{
    int first = 0, second = 0;

    void note(int value)
    {
        second = std::max(second, std::min(first, value));
        first = std::max(first, value);
    }
    bool fits() const { return simd::activationMax * (first + second) <= INT16_MAX; }
};

bool fitsTwoChunks(const networkWeights &weights)
{
    constexpr int pair = 2;
    constexpr int pairsInChunk = simd::chunkInputs / pair;
    for (int column = 0; column < hiddenOutputs * pairsInChunk; ++column)
    {
        topTwo above;
        topTwo below;
        for (int chunk = 0; chunk < networkInputs / simd::chunkInputs; ++chunk)
        {
            const simd::chunkWeight *weight =
                weights.hidden1Chunks + (chunk * hiddenOutputs * pairsInChunk + column) * pair;
            above.note(std::max<int>(weight[0], 0) + std::max<int>(weight[1], 0));
            below.note(-std::min<int>(weight[0], 0) - std::min<int>(weight[1], 0));
        }
        if (!above.fits() || !below.fits())
            return false;
    }
    return true;
}

} // namespace

void arrangeWeights(networkWeights &weights)
{
    for (int output = 0; output < hiddenOutputs; ++output)
    {
        for (int input = 0; input < networkInputs; ++input)
            weights.hidden1Chunks[chunkedIndex(input, output)] =
                static_cast<simd::chunkWeight>(weights.hidden1Weight[output][laneOfInput(input)]);
        for (int input = 0; input < hiddenOutputs; ++input)
            weights.hidden2Chunks[chunkedIndex(input, output)] =
                static_cast<simd::chunkWeight>(weights.hidden2Weight[output][input]);
        weights.outputChunks[output] = static_cast<simd::chunkWeight>(weights.outputWeight[output]);
    }
    weights.hidden1TwoChunks = fitsTwoChunks(weights);
    weights.generation.add(1);
}

bool readWeights(std::istream &stream, networkWeights &weights)
{
    readWord(stream);
    readWord(stream);
    stream.ignore(readWord(stream));
    readWord(stream);
    preferLargePages(&weights, sizeof weights); // a forward pass reads rows all over the record
    readLittle(stream, weights.featureBias, accumulatorLanes);
    readLittle(stream, weights.featureWeight[0], std::size_t{featureCount} * accumulatorLanes);
    readWord(stream);
    readLittle(stream, weights.hidden1Bias, hiddenOutputs);
    readWidened<hiddenOutputs * networkInputs>(stream, weights.hidden1Weight[0]);
    readLittle(stream, weights.hidden2Bias, hiddenOutputs);
    readWidened<hiddenOutputs * hiddenOutputs>(stream, weights.hidden2Weight[0]);
    readLittle(stream, &weights.outputBias, 1);
    readWidened<hiddenOutputs>(stream, weights.outputWeight);
    arrangeWeights(weights);
    return stream.good();
}

bool readWeightsFile(const std::string &name, networkWeights &weights)
{
    if (readableFileSize(name) < 0)
        return false;
    std::ifstream file(name, std::ios::binary);
    return file.is_open() && readWeights(file, weights);
}

bool readNet(std::istream &stream)
{
    netLoaded = false;
    netLoaded = readWeights(stream, netWeights);
    return netLoaded;
}

bool loadNetFile(const std::string &name)
{
    netLoaded = false;
    netLoaded = readWeightsFile(name, netWeights);
    return netLoaded;
}

} // namespace tarvonel
