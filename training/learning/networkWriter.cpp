#include "learning/networkWriter.h"

#include <algorithm>
#include <cassert>
#include <ostream>
#include <vector>

#include "atomicFile.h"
#include "platform/littleEndian.h"

namespace tarvonel
{

namespace
{

void writeWord(std::ostream &stream, std::uint32_t word) { writeLittle(stream, &word, 1); }

/// Writes numbers as signed bytes.
void writeNarrowed(std::ostream &stream, const std::int16_t *values, std::size_t count)
{
    std::vector<std::int8_t> bytes(count);
    std::transform(values, values + count, bytes.begin(),
                   [](std::int16_t value)
                   {
                       assert(value >= INT8_MIN && value <= INT8_MAX);
                       return static_cast<std::int8_t>(value);
                   });
    writeLittle(stream, bytes.data(), count);
}

void writeFields(std::ostream &stream, const networkWeights &weights, const std::string &description)
{
    constexpr std::uint32_t noVersion = 0;
    constexpr std::uint32_t noHash = 0;
    writeWord(stream, noVersion);
    writeWord(stream, noHash);
    writeWord(stream, static_cast<std::uint32_t>(description.size()));
    stream << description;
    writeWord(stream, noHash);
    writeLittle(stream, weights.featureBias, accumulatorLanes);
    writeLittle(stream, weights.featureWeight[0], std::size_t{featureCount} * accumulatorLanes);
    writeWord(stream, noHash);
    writeLittle(stream, weights.hidden1Bias, hiddenOutputs);
    writeNarrowed(stream, weights.hidden1Weight[0], hiddenOutputs * networkInputs);
    writeLittle(stream, weights.hidden2Bias, hiddenOutputs);
    writeNarrowed(stream, weights.hidden2Weight[0], hiddenOutputs * hiddenOutputs);
    writeLittle(stream, &weights.outputBias, 1);
    writeNarrowed(stream, weights.outputWeight, hiddenOutputs);
}

} // namespace

void writeNetwork(const std::string &path, const networkWeights &weights, const std::string &description)
{
    replaceFile(path, [&](std::ostream &stream) { writeFields(stream, weights, description); });
}

} // namespace tarvonel
