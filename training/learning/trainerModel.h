// The network in training: floating point, with first-layer rows as sums of shared rows.
//
// Activations from 0 to 1 are 0 to 127 in the engine; a weight of 1 in the dense layers is 64 in the
// file. So an output of 1 is a raw output of 127 x 64 in the engine.
#pragma once

#include <cstdint>
#include <new>
#include <string>
#include <vector>

#include "eval/networkFile.h"
#include "learning/featureMap.h"
#include "learning/trainerKernels.h"

namespace tarvonel
{

static_assert(transformerWidth == accumulatorLanes && hiddenWidth == hiddenOutputs);

inline constexpr int activationScale = simd::activationMax;
inline constexpr int weightScale = 1 << simd::hiddenShift;
inline constexpr double rawPerOutput = activationScale * weightScale;
inline constexpr float denseLimit = 127.0F / weightScale; ///< largest weight in a signed byte
/// While no row exceeds this, no sum of a bias and 32 rows overflows 16 bits.
inline constexpr float featureLimit = 7.5F;

constexpr std::size_t rowOffset(std::size_t row) { return row * transformerWidth; }
inline constexpr std::size_t rowChunk = 32; ///< rows that a thread takes at a time

/// Allocates on cache lines, where vector loads are fastest.
template <typename T> struct lineAllocator
{
    using value_type = T; // NOLINT(readability-identifier-naming): required by the library
    static constexpr std::align_val_t lineSize{64};

    lineAllocator() = default;
    template <typename U> lineAllocator(const lineAllocator<U> & /*other*/) {}
    T *allocate(std::size_t count) { return static_cast<T *>(::operator new(count * sizeof(T), lineSize)); }
    void deallocate(T *numbers, std::size_t /*count*/) { ::operator delete(numbers, lineSize); }
    bool operator==(const lineAllocator & /*other*/) const { return true; }
};
template <typename T> using lineVector = std::vector<T, lineAllocator<T>>;

/// Weights with the state of the optimiser (Adam).
struct parameterArray
{
    lineVector<float> weights;
    lineVector<float> means;          ///< running mean of the gradient
    lineVector<float> squares;        ///< running mean of its square
    lineVector<float> averages;       ///< running mean of the weights
    std::vector<std::uint32_t> steps; ///< by row: number of updates; the dense arrays are one row

    void resize(std::size_t rows, std::size_t width);
};

struct trainerModel
{
    std::vector<featureLevel> levels;
    featureClasses classes;
    std::vector<parameterArray> levelRows; ///< by level: rows of transformerWidth
    parameterArray featureBias;
    parameterArray hidden1Weight; ///< input by input, hiddenWidth each
    parameterArray hidden1Bias;
    parameterArray hidden2Weight; ///< input by input
    parameterArray hidden2Bias;
    parameterArray outputWeight;
    parameterArray outputBias;
    std::uint64_t steps = 0; ///< batches trained in this run
};

/// All arrays of the model, in the order of checkpoints.
std::vector<parameterArray *> arraysOf(trainerModel &model);

/// Sets small random initial weights, with rows of 0 in all levels but the first, such that in most
/// positions no neuron is at an end of its range.
void initialiseModel(trainerModel &model, const std::vector<featureLevel> &levels, std::uint64_t seed);

/// The exact row of a feature: the sum of its rows in all levels.
void sumFeatureRow(const trainerModel &model, std::size_t feature, float *row);

/// Copies another model's weights, without the state of its optimiser. Levels that it lacks become 0.
/// Throws std::runtime_error if it has a level that `model` lacks.
void copyWeights(trainerModel &model, const trainerModel &other);

/// The model with its weights replaced by their running means.
trainerModel averagedModel(const trainerModel &model);

/// How far a run has come.
struct checkpointProgress
{
    std::uint64_t epoch = 0;     ///< finished epochs
    std::uint64_t positions = 0; ///< trained on in the current epoch
    std::uint64_t seed = 0;
};

/// A checkpoint holds levels, weights, optimiser state and progress. Saving replaces the file
/// atomically. Both throw std::runtime_error.
void saveCheckpoint(trainerModel &model, const checkpointProgress &progress, const std::string &path);
checkpointProgress loadCheckpoint(trainerModel &model, const std::string &path);

/// Whether the file begins like a checkpoint.
bool isCheckpoint(const std::string &path);

} // namespace tarvonel
