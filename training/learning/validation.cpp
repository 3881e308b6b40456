#include "learning/validation.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <iterator>
#include <utility>

namespace tarvonel
{

namespace
{

constexpr double fewPositions = 0.01;            ///< share of them
constexpr std::size_t sampledPositions = 10'000; ///< whose lanes are sampled, at most

/// How often each neuron of a layer was not 0, and how often at the upper end.
template <int Width> struct neuronCounts
{
    std::uint64_t nonzero[Width] = {};
    std::uint64_t full[Width] = {};

    void count(const float *activations, int values)
    {
        for (int i = 0; i < values; ++i)
        {
            nonzero[i % Width] += activations[i] > 0.0F ? 1 : 0;
            full[i % Width] += activations[i] >= 1.0F ? 1 : 0;
        }
    }
    void add(const neuronCounts &other)
    {
        for (int i = 0; i < Width; ++i)
        {
            nonzero[i] += other.nonzero[i];
            full[i] += other.full[i];
        }
    }
};

/// Counts of one thread.
struct findings
{
    phaseError byPhase[phaseGroups]; ///< sums of the squares
    neuronCounts<transformerWidth> first;
    neuronCounts<hiddenWidth> hidden1;
    neuronCounts<hiddenWidth> hidden2;
    std::vector<laneMask> samples;
};

template <int Width> layerHealth healthOf(const neuronCounts<Width> &counts, std::size_t values)
{
    layerHealth health;
    health.neurons = Width;
    const double few = fewPositions * static_cast<double>(values);
    for (int i = 0; i < Width; ++i)
    {
        const auto nonzero = static_cast<double>(counts.nonzero[i]);
        health.dead += nonzero == 0 ? 1 : 0;
        health.nearlyDead += nonzero > 0 && nonzero <= few ? 1 : 0;
        health.saturated += static_cast<double>(values - counts.full[i]) <= few ? 1 : 0;
        health.nonzero += nonzero / static_cast<double>(values) / Width;
    }
    return health;
}

std::size_t countAtLimit(const lineVector<float> &weights, double limit)
{
    return static_cast<std::size_t>(
        std::ranges::count_if(weights, [&](float weight) { return std::abs(weight) >= static_cast<float>(limit); }));
}

lineVector<std::int16_t> roundAllRows(const trainerModel &model, threadPool &pool)
{
    lineVector<std::int16_t> rows(rowOffset(model.classes.featureOf.size()));
    pool.parallelFor(model.classes.featureOf.size(), rowChunk,
                     [&](std::size_t each) { roundClassRow(model, each, rows.data() + rowOffset(each)); });
    return rows;
}

} // namespace

validationResult validateModel(const trainerModel &model, threadPool &pool, std::span<const trainingPosition> positions,
                               const trainingSettings &settings)
{
    const roundedWeights rounded = roundWeights(model);
    const lineVector<std::int16_t> rows = roundAllRows(model, pool);
    const std::size_t sampleStep = positions.size() / sampledPositions + 1;
    std::vector<findings> found(static_cast<std::size_t>(pool.size()));
    pool.runOnAll(
        [&](int thread)
        {
            passValues values;
            classList list;
            findings own;
            const std::size_t begin = positions.size() * static_cast<std::size_t>(thread) / found.size();
            const std::size_t end = positions.size() * static_cast<std::size_t>(thread + 1) / found.size();
            for (std::size_t i = begin; i < end; ++i)
            {
                listClasses(positions[i], model.classes, list);
                passForward(rounded, list, rows.data(), values);
                const double error = predict(positions[i], values.output, settings).expected - targetOf(positions[i]);
                phaseError &group = own.byPhase[std::min(positions[i].phase / phasesPerGroup, phaseGroups - 1)];
                group.error += error * error;
                ++group.positions;
                own.first.count(values.input, networkInputs);
                own.hidden1.count(values.hidden1, hiddenWidth);
                own.hidden2.count(values.hidden2, hiddenWidth);
                if (i % sampleStep == 0)
                    for (int side = 0; side < colourCount; ++side)
                        own.samples.push_back(nonzeroLanes(values.input + side * transformerWidth));
            }
            found[static_cast<std::size_t>(thread)] = std::move(own);
        });
    findings &total = found.front();
    for (std::size_t thread = 1; thread < found.size(); ++thread)
    {
        for (int group = 0; group < phaseGroups; ++group)
        {
            total.byPhase[group].positions += found[thread].byPhase[group].positions;
            total.byPhase[group].error += found[thread].byPhase[group].error;
        }
        total.first.add(found[thread].first);
        total.hidden1.add(found[thread].hidden1);
        total.hidden2.add(found[thread].hidden2);
        total.samples.insert(total.samples.end(), found[thread].samples.begin(), found[thread].samples.end());
    }
    validationResult result;
    const std::size_t count = std::max<std::size_t>(positions.size(), 1);
    for (int group = 0; group < phaseGroups; ++group)
    {
        const phaseError &sum = total.byPhase[group];
        result.error += sum.error / static_cast<double>(count);
        result.byPhase[group] = {sum.positions,
                                 sum.error / static_cast<double>(std::max<std::size_t>(sum.positions, 1))};
    }
    result.layers[0] = healthOf(total.first, 2 * count);
    result.layers[1] = healthOf(total.hidden1, count);
    result.layers[2] = healthOf(total.hidden2, count);
    for (const parameterArray &level : model.levelRows)
        result.layers[0].atLimit +=
            countAtLimit(level.weights, featureLimit / static_cast<double>(model.levels.size()));
    result.layers[1].atLimit = countAtLimit(model.hidden1Weight.weights, denseLimit);
    result.layers[2].atLimit = countAtLimit(model.hidden2Weight.weights, denseLimit);
    result.outputAtLimit = countAtLimit(model.outputWeight.weights, denseLimit);
    result.samples = std::move(total.samples);
    return result;
}

std::string phaseText(const validationResult &result)
{
    std::string text = "  by game phase ";
    for (int group = 0; group < phaseGroups; ++group)
    {
        const int first = group * phasesPerGroup;
        const int last = group + 1 < phaseGroups ? first + phasesPerGroup - 1 : fullPhase;
        const phaseError &sum = result.byPhase[group];
        char part[80];
        std::snprintf(part, sizeof part, "  %d-%d: %.6f (%zu)", first, last, sum.error, sum.positions);
        text += part;
    }
    return text + "\n";
}

std::string healthText(const validationResult &result)
{
    static constexpr const char *names[] = {"first layer", "hidden layer 1", "hidden layer 2"};
    std::string text;
    for (std::size_t i = 0; i < std::size(names); ++i)
    {
        const layerHealth &layer = result.layers[i];
        char line[160];
        std::snprintf(line, sizeof line,
                      "  %-14s  of %3d neurons %d dead, %d nearly dead, %d saturated; %.1f%% of values nonzero; "
                      "%zu weights at their limit\n",
                      names[i], layer.neurons, layer.dead, layer.nearlyDead, layer.saturated, layer.nonzero * 100,
                      layer.atLimit);
        text += line;
    }
    return text + "  output          " + std::to_string(result.outputAtLimit) + " weights at their limit\n";
}

} // namespace tarvonel
