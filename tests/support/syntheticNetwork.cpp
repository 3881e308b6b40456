#include "support/syntheticNetwork.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>

namespace tarvonel
{

namespace
{

/// splitmix64.
struct randomSource
{
    std::uint64_t state;

    std::uint64_t next()
    {
        state += 0x9E3779B97F4A7C15;
        std::uint64_t z = state;
        z = (z ^ (z >> 30)) * 0xBF58476D1CE4E5B9;
        z = (z ^ (z >> 27)) * 0x94D049BB133111EB;
        return z ^ (z >> 31);
    }

    /// Between -spread and spread, small ones more often.
    int around(int spread)
    {
        const std::uint64_t bits = next();
        const int sum = static_cast<int>(bits & 0xFFFF) + static_cast<int>(bits >> 16 & 0xFFFF) - 0xFFFF;
        return sum * spread / 0xFFFF;
    }
    int sign() { return (next() & 1) != 0 ? 1 : -1; }
};

constexpr int laneKinds = 4; ///< kind 1 counts own pieces for and enemy pieces against, kind 2 the reverse
constexpr int ownLanes = 1, enemyLanes = 2;
constexpr int placementNoise[laneKinds] = {14, 5, 5, 10};
constexpr int materialWeight[pieceTypeCount] = {2, 6, 6, 9, 18, 0};
constexpr int wideLane = 31, wrappingLane = 63, laneCycle = 64; ///< lanes beyond a byte, and of any value

constexpr int typicalInput = 50, typicalHidden = 40;

int clampToByte(int weight) { return std::clamp(weight, INT8_MIN, INT8_MAX); }

/// One row: four lanes from each random number.
void fillFeatureRow(std::int16_t *row, int piece, randomSource &random)
{
    const int material = (piece & 1) == 0 ? materialWeight[piece / 2] : -materialWeight[piece / 2];
    for (int lane = 0; lane < accumulatorLanes; lane += laneKinds)
    {
        const std::uint64_t bits = random.next();
        for (int kind = 0; kind < laneKinds; ++kind)
        {
            const int low = static_cast<int>(bits >> 16 * kind & 0xFF);
            const int high = static_cast<int>(bits >> (16 * kind + 8) & 0xFF);
            const int lean = kind == ownLanes ? material : kind == enemyLanes ? -material : 0;
            row[lane + kind] = static_cast<std::int16_t>((low + high - 255) * placementNoise[kind] / 256 + lean);
        }
    }
    for (int lane = wideLane; lane < accumulatorLanes; lane += laneCycle)
        row[lane] = static_cast<std::int16_t>(random.around(256));
    for (int lane = wrappingLane; lane < accumulatorLanes; lane += laneCycle)
        row[lane] = static_cast<std::int16_t>(random.next());
}

/// The bias that brings the sum to `target` after the shift when every input has its typical value.
template <int Inputs> std::int32_t biasFor(const std::int16_t (&row)[Inputs], int typical, int target)
{
    std::int32_t weightSum = 0;
    for (const std::int16_t weight : row)
        weightSum += weight;
    return (target << simd::hiddenShift) - typical * weightSum;
}

/// Fills the rows of a record.
void makeSyntheticWeights(networkWeights &weights, const syntheticNetworkPlan &plan)
{
    constexpr int half = hiddenOutputs / 2; // output o + 16 is output o with the two sides exchanged
    randomSource random{plan.seed};
    for (std::int16_t &bias : weights.featureBias)
        bias = static_cast<std::int16_t>(plan.firstLayerBias + random.around(30));
    for (int f = 0; f < featureCount; ++f)
        fillFeatureRow(weights.featureWeight[f], f / squareCount % pieceKinds, random);

    int leaning[half];
    for (int o = 0; o < half; ++o)
    {
        leaning[o] = random.sign() * (1 + o % 2);
        for (int k = 0; k < networkInputs; ++k)
        {
            const int kind = k % laneKinds;
            const bool counted = kind == ownLanes || kind == enemyLanes;
            const bool forMe = (kind == ownLanes) == (k < accumulatorLanes);
            const int weight = random.around(3) + (counted ? forMe ? leaning[o] : -leaning[o] : 0);
            weights.hidden1Weight[o][k] = static_cast<std::int16_t>(weight);
            weights.hidden1Weight[o + half][k ^ accumulatorLanes] = static_cast<std::int16_t>(weight);
        }
        for (const int side : {o, o + half})
        {
            // The ends of the range of weights must occur.
            weights.hidden1Weight[side][laneKinds * o] = INT8_MIN;
            weights.hidden1Weight[side][laneKinds * o + laneKinds] = INT8_MAX;
            weights.hidden1Bias[side] = biasFor(weights.hidden1Weight[side], typicalInput, 30 + o);
        }
    }

    for (int o = 0; o < half; ++o)
    {
        const int lean = random.sign() * (2 + o % 3);
        for (int k = 0; k < hiddenOutputs; ++k)
        {
            const int towards = k < half ? leaning[k] : -leaning[k - half];
            const int weight = clampToByte(random.around(30) + 6 * lean * towards);
            weights.hidden2Weight[o][k] = static_cast<std::int16_t>(weight);
            weights.hidden2Weight[o + half][k ^ half] = static_cast<std::int16_t>(weight);
        }
        for (const int side : {o, o + half})
            weights.hidden2Bias[side] = biasFor(weights.hidden2Weight[side], typicalHidden, 25 + 2 * o);
        weights.outputWeight[o] = static_cast<std::int16_t>(6 * lean + random.around(6));
        weights.outputWeight[o + half] = static_cast<std::int16_t>(-weights.outputWeight[o] + random.around(2));
    }
    weights.outputBias = random.around(200);
}

} // namespace

void useSyntheticNetwork(const syntheticNetworkPlan &plan)
{
    makeSyntheticWeights(netWeights, plan);
    arrangeWeights(netWeights);
    netLoaded = true;
}

std::string syntheticNetworkBytes(const syntheticNetworkPlan &plan)
{
    const auto weights = std::make_unique<networkWeights>();
    makeSyntheticWeights(*weights, plan);
    std::string bytes;
    const auto append = [&](const auto &field) { bytes.append(reinterpret_cast<const char *>(&field), sizeof field); };
    const auto appendNarrowed = [&](const std::int16_t *first, std::size_t count)
    {
        std::transform(first, first + count, std::back_inserter(bytes),
                       [](int value) { return static_cast<char>(value); });
    };
    constexpr std::uint64_t versionAndHash = 0;
    constexpr std::uint32_t layerHash = 0;
    append(versionAndHash);
    append(static_cast<std::uint32_t>(plan.descriptionLength));
    bytes.append(plan.descriptionLength, 'd');
    append(layerHash);
    append(weights->featureBias);
    append(weights->featureWeight);
    append(layerHash);
    append(weights->hidden1Bias);
    appendNarrowed(weights->hidden1Weight[0], std::size_t{hiddenOutputs} * networkInputs);
    append(weights->hidden2Bias);
    appendNarrowed(weights->hidden2Weight[0], std::size_t{hiddenOutputs} * hiddenOutputs);
    append(weights->outputBias);
    appendNarrowed(weights->outputWeight, hiddenOutputs);
    return bytes;
}

bool writeSyntheticNetwork(const std::string &path, const syntheticNetworkPlan &plan)
{
    std::ofstream file(path, std::ios::binary);
    const std::string bytes = syntheticNetworkBytes(plan);
    file.write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
    file.close();
    return file.good();
}

} // namespace tarvonel
