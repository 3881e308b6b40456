#include "learning/modelNetwork.h"

#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>

namespace tarvonel
{

namespace
{

template <typename Number> Number rounded(double value, double low, double high)
{
    return static_cast<Number>(std::nearbyint(std::clamp(value, low, high))); // ties as in `roundRow`
}

constexpr double halfStep = weightScale / 2.0;

/// Adds half a step to a hidden bias, as the engine's shift rounds towards minus infinity.
std::int32_t hiddenBias(float bias) { return rounded<std::int32_t>(bias * rawPerOutput + halfStep, -1e9, 1e9); }

std::int16_t denseWeight(float weight)
{
    return rounded<std::int16_t>(weight * weightScale, -denseLimit * weightScale, denseLimit * weightScale);
}

/// Transposed: the engine has a row for each output.
template <std::size_t Inputs> void quantiseLayer(const parameterArray &weights, const parameterArray &biases,
                                                 std::int16_t (&rows)[hiddenWidth][Inputs],
                                                 std::int32_t (&sums)[hiddenWidth])
{
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        sums[o] = hiddenBias(biases.weights[o]);
        for (std::size_t i = 0; i < Inputs; ++i)
            rows[o][i] = denseWeight(weights.weights[i * hiddenWidth + o]);
    }
}

void quantiseRow(const float *row, std::int16_t *lanes)
{
    for (int i = 0; i < transformerWidth; ++i)
        lanes[i] = rounded<std::int16_t>(row[i] * activationScale, -32767, 32767);
}

void orderRow(std::int16_t *row, const std::vector<int> &lanes)
{
    std::int16_t ordered[transformerWidth];
    for (int i = 0; i < transformerWidth; ++i)
        ordered[i] = row[lanes[static_cast<std::size_t>(i)]];
    std::copy_n(ordered, transformerWidth, row);
}

/// The inverse of `quantiseLayer`.
template <std::size_t Inputs> void dequantiseLayer(parameterArray &weights, parameterArray &biases,
                                                   const std::int16_t (&rows)[hiddenWidth][Inputs],
                                                   const std::int32_t (&sums)[hiddenWidth])
{
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        biases.weights[o] = static_cast<float>((sums[o] - halfStep) / rawPerOutput);
        for (std::size_t i = 0; i < Inputs; ++i)
            weights.weights[i * hiddenWidth + o] = static_cast<float>(rows[o][i]) / weightScale;
    }
}

void dequantiseRow(float *row, const std::int16_t *lanes)
{
    for (int i = 0; i < transformerWidth; ++i)
        row[i] = static_cast<float>(lanes[i]) / activationScale;
}

/// Moves the mean of the remaining rows of the features that share a level's row into that row.
void fitLevel(const featureLevel &level, lineVector<float> &rows, std::vector<float> &rest)
{
    std::vector<float> means(rows.size(), 0.0F);
    std::vector<int> sharers(static_cast<std::size_t>(level.rows), 0);
    const auto meanOf = [&](std::size_t feature) { return means.data() + level.rowOf[feature] * transformerWidth; };
    for (std::size_t feature = 0; feature < featureCount; ++feature)
    {
        addRow(meanOf(feature), rest.data() + feature * transformerWidth);
        ++sharers[level.rowOf[feature]];
    }
    for (std::size_t i = 0; i < means.size(); ++i)
    {
        means[i] /= static_cast<float>(std::max(sharers[i / transformerWidth], 1));
        rows[i] += means[i];
    }
    for (std::size_t feature = 0; feature < featureCount; ++feature)
    {
        float *row = rest.data() + feature * transformerWidth;
        std::transform(row, row + transformerWidth, meanOf(feature), row, std::minus<>{});
    }
}

/// Splits the rows of all features among the levels: first among the shared ones, in several rounds as
/// they overlap, then the rest into the free ones. `rows` keeps what no level holds.
void splitRows(trainerModel &model, std::vector<float> &rows)
{
    constexpr int roundsOfSeveral = 16;
    const auto isShared = [](const featureLevel &level) { return level.rows < featureCount; };
    const int rounds = std::ranges::count_if(model.levels, isShared) > 1 ? roundsOfSeveral : 1;
    for (int round = 0; round <= rounds; ++round)
    {
        for (std::size_t i = 0; i < model.levels.size(); ++i)
        {
            if (isShared(model.levels[i]) == (round < rounds))
                fitLevel(model.levels[i], model.levelRows[i].weights, rows);
        }
    }
}

double sumOfSquares(const std::vector<float> &values)
{
    return std::inner_product(values.begin(), values.end(), values.begin(), 0.0);
}

} // namespace

void quantiseModel(const trainerModel &model, networkWeights &weights)
{
    quantiseRow(model.featureBias.weights.data(), weights.featureBias);
    float row[transformerWidth];
    for (std::size_t feature = 0; feature < featureCount; ++feature)
    {
        sumFeatureRow(model, feature, row);
        quantiseRow(row, weights.featureWeight[feature]);
    }
    quantiseLayer(model.hidden1Weight, model.hidden1Bias, weights.hidden1Weight, weights.hidden1Bias);
    quantiseLayer(model.hidden2Weight, model.hidden2Bias, weights.hidden2Weight, weights.hidden2Bias);
    for (std::size_t o = 0; o < hiddenWidth; ++o)
        weights.outputWeight[o] = denseWeight(model.outputWeight.weights[o]);
    weights.outputBias = rounded<std::int32_t>(model.outputBias.weights[0] * rawPerOutput, -1e9, 1e9);
}

void orderLanes(networkWeights &weights, const std::vector<int> &lanes)
{
    orderRow(weights.featureBias, lanes);
    for (auto &row : weights.featureWeight)
        orderRow(row, lanes);
    for (auto &row : weights.hidden1Weight)
    {
        orderRow(row, lanes);
        orderRow(row + transformerWidth, lanes);
    }
}

double importNetwork(trainerModel &model, const networkWeights &weights)
{
    for (parameterArray *array : arraysOf(model))
        array->resize(array->steps.size(), array->weights.size() / array->steps.size());
    std::vector<float> rows(static_cast<std::size_t>(featureCount) * transformerWidth);
    for (std::size_t feature = 0; feature < featureCount; ++feature)
        dequantiseRow(rows.data() + feature * transformerWidth, weights.featureWeight[feature]);
    const double whole = sumOfSquares(rows);
    splitRows(model, rows);
    dequantiseRow(model.featureBias.weights.data(), weights.featureBias);
    dequantiseLayer(model.hidden1Weight, model.hidden1Bias, weights.hidden1Weight, weights.hidden1Bias);
    dequantiseLayer(model.hidden2Weight, model.hidden2Bias, weights.hidden2Weight, weights.hidden2Bias);
    for (std::size_t o = 0; o < hiddenWidth; ++o)
        model.outputWeight.weights[o] = static_cast<float>(weights.outputWeight[o]) / weightScale;
    model.outputBias.weights[0] = static_cast<float>(weights.outputBias / rawPerOutput);
    return whole > 0 ? 1 - sumOfSquares(rows) / whole : 1;
}

} // namespace tarvonel
