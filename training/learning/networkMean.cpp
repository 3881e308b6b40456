#include "learning/networkMean.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <span>
#include <stdexcept>
#include <string>
#include <type_traits>

#include "learning/modelNetwork.h"

namespace tarvonel
{

namespace
{

/// Lanes are compared on every 97th row. Prime, so that these cover all kinds of pieces and squares.
constexpr int rowStep = 97;

std::int64_t distance(const networkWeights &reference, int lane, const networkWeights &other, int otherLane)
{
    std::int64_t sum = 0;
    for (int feature = 0; feature < featureCount; feature += rowStep)
        sum += std::abs(reference.featureWeight[feature][lane] - other.featureWeight[feature][otherLane]);
    return sum;
}

int nearestLane(const networkWeights &reference, int lane, const networkWeights &other)
{
    int nearest = 0;
    std::int64_t least = INT64_MAX;
    for (int candidate = 0; candidate < accumulatorLanes; ++candidate)
        if (const std::int64_t apart = distance(reference, lane, other, candidate); apart < least)
        {
            least = apart;
            nearest = candidate;
        }
    return nearest;
}

/// Replaces the first network's numbers by the mean of all networks'.
template <typename NumbersOf>
void takeMean(const std::vector<std::unique_ptr<networkWeights>> &networks, const NumbersOf &numbersOf)
{
    const auto means = numbersOf(*networks.front());
    for (std::size_t i = 0; i < means.size(); ++i)
    {
        std::int64_t sum = 0;
        for (const auto &network : networks)
            sum += numbersOf(*network)[i];
        const double mean = std::nearbyint(static_cast<double>(sum) / static_cast<double>(networks.size()));
        means[i] = static_cast<std::remove_reference_t<decltype(means[i])>>(mean);
    }
}

} // namespace

std::vector<int> matchLanes(const networkWeights &reference, const networkWeights &other)
{
    std::vector<int> lanes;
    for (int lane = 0; lane < accumulatorLanes; ++lane)
        if (const int nearest = nearestLane(reference, lane, other); std::ranges::find(lanes, nearest) == lanes.end())
            lanes.push_back(nearest);
        else
            return {};
    return lanes;
}

std::unique_ptr<networkWeights> meanOfNetworks(std::vector<std::unique_ptr<networkWeights>> networks)
{
    for (std::size_t i = 1; i < networks.size(); ++i)
    {
        const std::vector<int> lanes = matchLanes(*networks[0], *networks[i]);
        if (lanes.empty())
            throw std::runtime_error("network " + std::to_string(i + 1) + " is not related to the first");
        orderLanes(*networks[i], lanes);
    }
    takeMean(networks, [](networkWeights &net) { return std::span(net.featureBias); });
    takeMean(networks, [](networkWeights &net)
             { return std::span(net.featureWeight[0], std::size_t{featureCount} * accumulatorLanes); });
    takeMean(networks, [](networkWeights &net) { return std::span(net.hidden1Bias); });
    takeMean(networks, [](networkWeights &net)
             { return std::span(net.hidden1Weight[0], std::size_t{hiddenOutputs} * networkInputs); });
    takeMean(networks, [](networkWeights &net) { return std::span(net.hidden2Bias); });
    takeMean(networks, [](networkWeights &net)
             { return std::span(net.hidden2Weight[0], std::size_t{hiddenOutputs} * hiddenOutputs); });
    takeMean(networks, [](networkWeights &net) { return std::span(net.outputWeight); });
    takeMean(networks, [](networkWeights &net) { return std::span(&net.outputBias, 1); });
    return std::move(networks.front());
}

} // namespace tarvonel
