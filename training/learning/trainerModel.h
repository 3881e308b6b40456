// The network as it is learnt: in floating point, its first layer as a sum of shared rows.
//
// Activations run from 0 to 1, where the engine's run from 0 to 127; a weight of 1 in the dense
// layers is 64 in the file. So an output of 1 is a raw output of 127 x 64 in the engine.
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
inline constexpr float denseLimit = 127.0F / weightScale; ///< what a signed byte can hold
/// No sum of a bias and 32 rows leaves 16 bits while no row passes this.
inline constexpr float featureLimit = 7.5F;

constexpr std::size_t rowOffset(std::size_t row) { return row * transformerWidth; }

/// Hands out whole cache lines: vectors of numbers are read faster where they begin on one.
template <typename T> struct lineAllocator
{
    using value_type = T; // NOLINT(readability-identifier-naming): what the library asks for
    static constexpr std::align_val_t lineSize{64};

    lineAllocator() = default;
    template <typename U> lineAllocator(const lineAllocator<U> & /*other*/) {}
    T *allocate(std::size_t count) { return static_cast<T *>(::operator new(count * sizeof(T), lineSize)); }
    void deallocate(T *numbers, std::size_t /*count*/) { ::operator delete(numbers, lineSize); }
    bool operator==(const lineAllocator & /*other*/) const { return true; }
};
template <typename T> using lineVector = std::vector<T, lineAllocator<T>>;

/// Weights with what the optimiser remembers of each.
struct learntArray
{
    lineVector<float> weights;
    lineVector<float> means;          ///< of the gradient
    lineVector<float> squares;        ///< mean squares of the gradient
    lineVector<float> averages;       ///< of the last weights
    std::vector<std::uint32_t> steps; ///< by row: those that changed it; other arrays are one row

    void resize(std::size_t rows, std::size_t width);
};

struct trainerModel
{
    std::vector<featureLevel> levels;
    featureClasses classes;
    std::vector<learntArray> levelRows; ///< by level: rows of transformerWidth
    learntArray featureBias;
    learntArray hidden1Weight; ///< input by input, hiddenWidth each
    learntArray hidden1Bias;
    learntArray hidden2Weight; ///< input by input
    learntArray hidden2Bias;
    learntArray outputWeight;
    learntArray outputBias;
    std::uint64_t steps = 0; ///< of the run
};

/// All arrays of the model, in the order of checkpoints.
std::vector<learntArray *> arraysOf(trainerModel &model);

/// A fresh model with small random weights, that of the first level alone among the rows, chosen so
/// that all neurons stand between the ends of their range in most positions.
void initialiseModel(trainerModel &model, const std::vector<featureLevel> &levels, std::uint64_t seed);

/// The exact row of a feature: the sum of its rows in all levels.
void sumFeatureRow(const trainerModel &model, std::size_t feature, float *row);

/// Takes over another model's weights, but not what its optimiser remembers. Levels that the other
/// lacks begin at 0; a level that only the other has is an error, told in the text.
std::string takeWeights(trainerModel &model, const trainerModel &other);

/// The model with the averages of the last weights for its weights.
trainerModel averagedModel(const trainerModel &model);

/// A checkpoint holds the weights, the optimiser's memory, the levels, and how far the run has come.
struct checkpointProgress
{
    std::uint64_t epoch = 0;     ///< epochs finished
    std::uint64_t positions = 0; ///< learnt from in the epoch under way
    std::uint64_t seed = 0;
};
std::string saveCheckpoint(trainerModel &model, const checkpointProgress &progress, const std::string &path);
/// Whether the file begins as checkpoints do.
bool isCheckpoint(const std::string &path);
std::string loadCheckpoint(trainerModel &model, checkpointProgress &progress, const std::string &path);

} // namespace tarvonel
