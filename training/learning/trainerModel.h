// The network as it is learnt: in floating point, its first layer as a sum of shared rows.
//
// Activations run from 0 to 1, where the engine's run from 0 to 127; a weight of 1 in the dense
// layers is 64 in the file. So an output of 1 is a raw output of 127 x 64 in the engine.
#pragma once

#include <cstdint>
#include <memory>
#include <random>
#include <string>
#include <vector>

#include "learning/featureMap.h"
#include "learning/trainerKernels.h"
#include "learning/trainingData.h"

namespace tarvonel
{

static_assert(transformerWidth == accumulatorLanes && hiddenWidth == hiddenOutputs);

inline constexpr double activationScale = 127.0;
inline constexpr double weightScale = 64.0;
inline constexpr double rawPerOutput = activationScale * weightScale;
inline constexpr float denseLimit = 127.0F / 64.0F; ///< what a signed byte can hold
/// No sum of a bias and 32 rows leaves 16 bits while no row passes this.
inline constexpr float featureLimit = 7.5F;

/// Weights with what the optimiser remembers of each.
struct learntArray
{
    std::vector<float> weights;
    std::vector<float> means;
    std::vector<float> squares;

    void resize(std::size_t count);
};

struct trainerModel
{
    std::vector<featureLevel> levels;
    std::vector<learntArray> levelRows; ///< by level: rows of transformerWidth
    learntArray featureBias;
    learntArray hidden1Weight; ///< input by input, hiddenWidth each
    learntArray hidden1Bias;
    learntArray hidden2Weight; ///< input by input
    learntArray hidden2Bias;
    learntArray outputWeight;
    learntArray outputBias;
    std::uint64_t steps = 0; ///< of the optimiser
};

/// All arrays of the model, in the order of checkpoints.
std::vector<learntArray *> arraysOf(trainerModel &model);

/// A fresh model with small random weights; the free rows begin at 0.
void initialiseModel(trainerModel &model, const std::vector<featureLevel> &levels, std::uint64_t seed);

/// The exact row of a feature: the sum of its rows in all levels.
void sumFeatureRow(const trainerModel &model, int feature, float *row);

/// What positions are computed with, in learning as in judging: the weights rounded to what the file
/// can hold. Their gradients go to the exact weights (straight-through estimator), so the model
/// learns to do with the rounded ones: rounding some weights of the last layers afterwards shifts all
/// scores, and has doubled a network's error.
struct roundedWeights
{
    std::vector<float> hidden1;
    std::vector<float> hidden2;
    std::vector<float> output;
};
roundedWeights roundDense(const trainerModel &model);

/// The row of a feature, rounded likewise.
void roundFeatureRow(const trainerModel &model, int feature, float *row);

/// Output of the model for a position, computed from nothing: for tests and single positions.
float modelOutput(const trainerModel &model, const trainingPosition &position);

/// Takes over another model's weights, but not what its optimiser remembers. Levels that the other
/// lacks begin at 0; a level that only the other has is an error, told in the text.
std::string takeWeights(trainerModel &model, const trainerModel &other);

/// A checkpoint holds the weights, the optimiser's memory, the levels, and the caller's two
/// numbers.
struct checkpointProgress
{
    std::uint64_t epoch = 0; ///< epochs finished
    std::uint64_t seed = 0;
};
std::string saveCheckpoint(trainerModel &model, const checkpointProgress &progress, const std::string &path);
/// Whether the file begins as checkpoints do.
bool isCheckpoint(const std::string &path);
std::string loadCheckpoint(trainerModel &model, checkpointProgress &progress, const std::string &path);

} // namespace tarvonel
