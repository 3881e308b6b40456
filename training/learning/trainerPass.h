// One position's way through the network, and its gradients' way back.
//
// Positions are computed with the weights rounded to what the file can hold, in learning as in
// judging. Their gradients go to the exact weights (straight-through estimator), so the model learns
// to do with the rounded ones: rounding some weights of the last layers afterwards shifts all scores,
// and has doubled a network's error.
#pragma once

#include "learning/trainerModel.h"
#include "learning/trainingData.h"

namespace tarvonel
{

struct learningSettings
{
    double scoreScale = 250; ///< centipawns whose sigmoid is 1 / (1 + 1/e)
    double rate = 0.001;     ///< learning rate
    /// Added to a position's error for each unit of first-layer activation: the engine is faster the
    /// fewer inputs are not 0.
    double l1Penalty = 0;
    double freeShare = 0.5;   ///< rate of the free rows, as a share of the others'
    double weightDecay = 0;   ///< taken off the weights each step, as a share of them times the rate
    double averagedSteps = 0; ///< over so many of the last steps the weights are averaged
};

/// The model's weights but for the rows, rounded.
struct roundedWeights
{
    lineVector<std::int16_t> featureBias; ///< as in the file
    lineVector<float> hidden1, hidden1ByOutput;
    lineVector<float> hidden2, hidden2ByOutput;
    lineVector<float> hidden1Bias, hidden2Bias; ///< exact, as the file nearly has them
    lineVector<float> output;
    float outputBias = 0;
};
roundedWeights roundWeights(const trainerModel &model);

/// The row of a class of features as in the file.
void roundClassRow(const trainerModel &model, std::size_t featureClass, std::int16_t *row);

/// What a position is to the network: the classes of its features, as places in an array of rows.
struct classList
{
    int count = 0;
    std::uint32_t places[colourCount][mostMen]; ///< the side to move's view first
};
void listClasses(const trainingPosition &position, const featureClasses &classes, classList &list);

/// Values of one position on its way, and the gradients on the way back.
struct passValues
{
    alignas(64) float input[networkInputs];
    alignas(64) float inputGradient[networkInputs];
    alignas(64) float hidden1[hiddenWidth];
    alignas(64) float hidden1Gradient[hiddenWidth];
    alignas(64) float hidden2[hiddenWidth];
    alignas(64) float hidden2Gradient[hiddenWidth];
    std::uint16_t alive[networkInputs];
    std::uint16_t alive1[hiddenWidth];
    int aliveCount;
    int alive1Count;
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

/// The network's output for the position of the list, `rows` holding the rows of the classes.
void passForward(const roundedWeights &weights, const classList &list, const std::int16_t *rows, passValues &values);

/// The way back from the gradient of the output; adds to the dense gradients.
void passBackward(const roundedWeights &weights, float outputGradient, float l1Penalty, passValues &values,
                  denseGradients &sums);

/// The expected result, from 0 to 1, that the network should give for the position.
inline double targetOf(const trainingPosition &position) { return position.target / fullTarget; }

/// The expected result that the network's output stands for, and how fast it changes.
struct predictedResult
{
    double expected;
    double slope;
};
predictedResult predict(const trainingPosition &position, float output, const learningSettings &settings);

} // namespace tarvonel
