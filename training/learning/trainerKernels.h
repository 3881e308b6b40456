// The trainer's inner loops on arrays of numbers, written for the compiler's vectors. They know
// nothing of chess and are compiled for the machine at hand.
//
// Rows are transformerWidth long. Arrays that begin on a cache line are read fastest.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvonel
{

inline constexpr int transformerWidth = 256; ///< one side's first-layer values
inline constexpr int hiddenWidth = 32;

/// sum = start + the rows at those places of `rows`, an array of rows.
void sumRows(std::int16_t *sum, const std::int16_t *start, const std::int16_t *rows, const std::uint32_t *places,
             std::size_t count);

/// sum = the rows at those places.
void sumRows(float *sum, const float *rows, const std::uint32_t *places, std::size_t count);

/// sum += row.
void addRow(float *sum, const float *row);

/// The row in whole steps of 1 / `steps`.
void roundRow(std::int16_t *rounded, const float *row, float steps);

/// Rounds each value to the nearest multiple of 1 / steps.
void roundValues(float *values, int count, float steps);

/// output = sum / steps held within 0 to 1, over a row.
void clampRow(float *output, const std::int16_t *sum, float steps);

/// The numbers of the values above 0, in their order; returns how many there are.
int listAlive(std::uint16_t *alive, const float *values, int count);

/// sums[o] = biases[o] + input x weights, over hiddenWidth outputs; weights input by input. Only the
/// inputs in the list of living ones count.
void forwardLayer(float *sums, const float *input, const std::uint16_t *alive, int aliveCount, const float *weights,
                  const float *biases);

/// activations[o] = sums[o] held within 0 to 1, over hiddenWidth values.
void clampHidden(float *activations, const float *sums);

/// Takes gradients through the clamp: those of sums that were outside 0 to 1 become 0.
void passClamp(float *gradients, const float *activations, int count);

/// Adds the gradient of an L1 penalty on the activations.
void addL1Penalty(float *gradients, const float *activations, float penalty, int count);

/// weightGradients[i][o] += input[i] x gradients[o], for the living inputs.
void addOuterProduct(float *weightGradients, const float *input, const std::uint16_t *alive, int aliveCount,
                     const float *gradients);

/// inputGradients[i] = sum over o of weights[o][i] x gradients[o]: the weights output by output.
/// `inputs` is a multiple of hiddenWidth.
void backwardLayer(float *inputGradients, const float *weights, const float *gradients, int inputs);

/// averages += (weights - averages) x share.
void moveAverages(float *averages, const float *weights, float share, int count);

/// What one step of the optimiser (Adam, decoupled weight decay) needs to know.
struct adamStep
{
    float rate = 0;  ///< learning rate with the correction for the first steps in it
    float decay = 0; ///< share of each weight that is taken off
    float limit = 0; ///< the weights stay within plus and minus this
};
inline constexpr float meanDecay = 0.9F; ///< of the mean gradient, a step
inline constexpr float squareDecay = 0.999F;

/// One step on `count` weights with the gradient x `scale`.
void stepWeights(float *weights, float *means, float *squares, const float *gradient, float scale, int count,
                 const adamStep &step);

} // namespace tarvonel
