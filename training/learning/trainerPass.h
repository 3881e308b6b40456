// Forward and backward pass of one position.
//
// Both training and validation use the weights rounded to the file's integers. The gradients are applied
// to the exact weights (straight-through estimator), so that training compensates the rounding: rounding
// only at the end has doubled a network's error.
#pragma once

#include "learning/trainerModel.h"
#include "learning/trainingData.h"

namespace tarvonel
{

struct trainingSettings
{
    double scoreScale = 250;     ///< centipawns whose sigmoid is 1 / (1 + 1/e)
    double learningRate = 0.001; ///< learning rate
    /// Added to a position's error for each unit of first-layer activation: the engine is faster the
    /// fewer inputs are not 0.
    double l1Penalty = 0;
    /// Added to the error for the square of each weight in the rows of all levels but the first: rows that
    /// few positions use stay near 0.
    double l2Penalty = 0;
    double freeShare = 0.5; ///< learning rate of the free rows, as a share of the others'
    double weightDecay = 0; ///< share of the weights, times the learning rate, that a step removes
    /// Added to the root mean square gradient that divides a step (Adam): rows that few positions use have
    /// small gradients, so a large value slows them.
    double epsilon = 1e-8;
    double averagedSteps = 0; ///< steps in the running mean of the weights
};

/// The model's rounded weights, without the rows.
struct roundedWeights
{
    lineVector<std::int16_t> featureBias; ///< as in the file
    lineVector<float> hidden1, hidden1ByOutput;
    lineVector<float> hidden2, hidden2ByOutput;
    lineVector<float> hidden1Bias, hidden2Bias; ///< not rounded: the file's steps are finer
    lineVector<float> output;
    float outputBias = 0;
};
roundedWeights roundWeights(const trainerModel &model);

/// The row of a feature class as in the file.
void roundClassRow(const trainerModel &model, std::size_t featureClass, std::int16_t *row);

/// The network's input for a position: the classes of its features, as indices of rows.
struct classList
{
    int count = 0;
    std::uint32_t places[colourCount][maxPieces]; ///< the side to move's view first
};
void listClasses(const trainingPosition &position, const featureClasses &classes, classList &list);

/// One position's activations and their gradients.
struct passValues
{
    alignas(64) float input[networkInputs];
    alignas(64) float inputGradient[networkInputs];
    alignas(64) float hidden1[hiddenWidth];
    alignas(64) float hidden1Gradient[hiddenWidth];
    alignas(64) float hidden2[hiddenWidth];
    alignas(64) float hidden2Gradient[hiddenWidth];
    std::uint16_t nonzero[networkInputs];
    std::uint16_t nonzero1[hiddenWidth];
    int nonzeroCount;
    int nonzero1Count;
    float output;
};

/// Gradients of the dense weights, summed over positions.
struct denseGradients
{
    lineVector<float> featureBias = lineVector<float>(transformerWidth);
    lineVector<float> hidden1Weight = lineVector<float>(networkInputs * hiddenWidth);
    lineVector<float> hidden1Bias = lineVector<float>(hiddenWidth);
    lineVector<float> hidden2Weight = lineVector<float>(hiddenWidth * hiddenWidth);
    lineVector<float> hidden2Bias = lineVector<float>(hiddenWidth);
    lineVector<float> outputWeight = lineVector<float>(hiddenWidth);
    lineVector<float> outputBias = lineVector<float>(1);
    double error = 0; ///< sum of the squared errors

    std::vector<lineVector<float> *> arrays()
    {
        return {&featureBias, &hidden1Weight, &hidden1Bias, &hidden2Weight, &hidden2Bias, &outputWeight, &outputBias};
    }
};

/// The network's output for the position in `list`; `rows` has one row per class.
void passForward(const roundedWeights &weights, const classList &list, const std::int16_t *rows, passValues &values);

/// Propagates the gradient of the output back and adds to `sums`.
void passBackward(const roundedWeights &weights, float outputGradient, float l1Penalty, passValues &values,
                  denseGradients &sums);

/// The expected result, from 0 to 1, that the network should give for the position.
inline double targetOf(const trainingPosition &position) { return position.target / fullTarget; }

/// The expected result for a network output, and its derivative.
struct predictedResult
{
    double expected;
    double slope;
};
predictedResult predict(const trainingPosition &position, float output, const trainingSettings &settings);

} // namespace tarvonel
