#include "learning/trainerPass.h"

#include <algorithm>

namespace tarvonel
{

namespace
{

lineVector<float> roundedLayer(const lineVector<float> &weights)
{
    lineVector<float> rounded = weights;
    roundValues(rounded.data(), static_cast<int>(rounded.size()), weightScale);
    return rounded;
}

/// Transposes a layer that is stored input by input.
lineVector<float> byOutput(const lineVector<float> &weights)
{
    const std::size_t inputs = weights.size() / hiddenWidth;
    lineVector<float> turned(weights.size());
    for (std::size_t i = 0; i < inputs; ++i)
        for (std::size_t o = 0; o < hiddenWidth; ++o)
            turned[o * inputs + i] = weights[i * hiddenWidth + o];
    return turned;
}

} // namespace

roundedWeights roundWeights(const trainerModel &model)
{
    roundedWeights rounded;
    rounded.featureBias.resize(transformerWidth);
    roundRow(rounded.featureBias.data(), model.featureBias.weights.data(), activationScale);
    rounded.hidden1 = roundedLayer(model.hidden1Weight.weights);
    rounded.hidden1ByOutput = byOutput(rounded.hidden1);
    rounded.hidden2 = roundedLayer(model.hidden2Weight.weights);
    rounded.hidden2ByOutput = byOutput(rounded.hidden2);
    rounded.hidden1Bias = model.hidden1Bias.weights;
    rounded.hidden2Bias = model.hidden2Bias.weights;
    rounded.output = roundedLayer(model.outputWeight.weights);
    rounded.outputBias = model.outputBias.weights[0];
    return rounded;
}

void roundClassRow(const trainerModel &model, std::size_t featureClass, std::int16_t *row)
{
    alignas(64) float sum[transformerWidth];
    sumFeatureRow(model, model.classes.featureOf[featureClass], sum);
    roundRow(row, sum, activationScale);
}

void listClasses(const trainingPosition &position, const featureClasses &classes, classList &list)
{
    featureList features;
    listFeatures(position, features);
    list.count = features.count;
    for (const int half : {0, 1})
        std::transform(features.features[half], features.features[half] + features.count, list.places[half],
                       [&](std::uint16_t feature) { return classes.classOf[feature]; });
}

void passForward(const roundedWeights &weights, const classList &list, const std::int16_t *rows, passValues &values)
{
    for (const int half : {0, 1})
    {
        alignas(64) std::int16_t sum[transformerWidth];
        sumRows(sum, weights.featureBias.data(), rows, list.places[half], static_cast<std::size_t>(list.count));
        clampRow(values.input + half * transformerWidth, sum, activationScale);
    }
    alignas(64) float sums[hiddenWidth];
    values.nonzeroCount = listNonzero(values.nonzero, values.input, networkInputs);
    forwardLayer(sums, values.input, values.nonzero, values.nonzeroCount, weights.hidden1.data(),
                 weights.hidden1Bias.data());
    clampHidden(values.hidden1, sums);
    values.nonzero1Count = listNonzero(values.nonzero1, values.hidden1, hiddenWidth);
    forwardLayer(sums, values.hidden1, values.nonzero1, values.nonzero1Count, weights.hidden2.data(),
                 weights.hidden2Bias.data());
    clampHidden(values.hidden2, sums);
    values.output = weights.outputBias;
    for (std::size_t o = 0; o < hiddenWidth; ++o)
        values.output += values.hidden2[o] * weights.output[o];
}

void passBackward(const roundedWeights &weights, float outputGradient, float l1Penalty, passValues &values,
                  denseGradients &sums)
{
    sums.outputBias[0] += outputGradient;
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        sums.outputWeight[o] += outputGradient * values.hidden2[o];
        values.hidden2Gradient[o] = outputGradient * weights.output[o];
    }
    passClamp(values.hidden2Gradient, values.hidden2, hiddenWidth);
    addOuterProduct(sums.hidden2Weight.data(), values.hidden1, values.nonzero1, values.nonzero1Count,
                    values.hidden2Gradient);
    backwardLayer(values.hidden1Gradient, weights.hidden2ByOutput.data(), values.hidden2Gradient, hiddenWidth);
    passClamp(values.hidden1Gradient, values.hidden1, hiddenWidth);
    addOuterProduct(sums.hidden1Weight.data(), values.input, values.nonzero, values.nonzeroCount,
                    values.hidden1Gradient);
    backwardLayer(values.inputGradient, weights.hidden1ByOutput.data(), values.hidden1Gradient, networkInputs);
    passClamp(values.inputGradient, values.input, networkInputs);
    addL1Penalty(values.inputGradient, values.input, l1Penalty, networkInputs);
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        sums.hidden2Bias[o] += values.hidden2Gradient[o];
        sums.hidden1Bias[o] += values.hidden1Gradient[o];
    }
    addRow(sums.featureBias.data(), values.inputGradient);
    addRow(sums.featureBias.data(), values.inputGradient + transformerWidth);
}

predictedResult predict(const trainingPosition &position, float output, const trainingSettings &settings)
{
    const double scale = outputScale(position);
    const double expected = expectedResult(output * scale, settings.scoreScale);
    return {expected, expected * (1 - expected) * scale / settings.scoreScale};
}

} // namespace tarvonel
