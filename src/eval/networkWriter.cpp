#include "eval/networkWriter.h"

#include <cassert>
#include <vector>

namespace tarvonel
{

namespace
{

/// Appends numbers lowest byte first, in `Bytes` bytes each.
template <int Bytes, typename T> void append(std::vector<char> &out, const T *values, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        for (int b = 0; b < Bytes; ++b)
            out.push_back(static_cast<char>(static_cast<std::uint32_t>(values[i]) >> 8 * b & 0xFF));
}

template <typename T> void appendNarrowed(std::vector<char> &out, const T *values, std::size_t count)
{
    for (std::size_t i = 0; i < count; ++i)
        assert(values[i] >= INT8_MIN && values[i] <= INT8_MAX);
    append<1>(out, values, count);
}

} // namespace

void writeNet(std::ostream &stream, const networkWeights &weights, const std::string &description)
{
    constexpr std::uint32_t noHash = 0;
    const std::uint32_t head[] = {0, noHash, static_cast<std::uint32_t>(description.size())};
    std::vector<char> out;
    out.reserve(sizeof(networkWeights) + description.size());
    append<4>(out, head, 3);
    out.insert(out.end(), description.begin(), description.end());
    append<4>(out, &noHash, 1);
    append<2>(out, weights.featureBias, accumulatorLanes);
    append<2>(out, weights.featureWeight[0], std::size_t{featureCount} * accumulatorLanes);
    append<4>(out, &noHash, 1);
    append<4>(out, weights.hidden1Bias, hiddenOutputs);
    appendNarrowed(out, weights.hidden1Weight[0], hiddenOutputs * networkInputs);
    append<4>(out, weights.hidden2Bias, hiddenOutputs);
    appendNarrowed(out, weights.hidden2Weight[0], hiddenOutputs * hiddenOutputs);
    append<4>(out, &weights.outputBias, 1);
    appendNarrowed(out, weights.outputWeight, hiddenOutputs);
    stream.write(out.data(), static_cast<std::streamsize>(out.size()));
}

} // namespace tarvonel
