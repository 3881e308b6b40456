// The trainer's inner loops, written so that the compiler vectorises them; built for the local machine.
//
// Rows are transformerWidth long. Arrays on cache lines are fastest.
#pragma once

#include <cstddef>
#include <cstdint>

namespace tarvonel
{

inline constexpr int transformerWidth = 256; ///< one side's first-layer values
inline constexpr int hiddenWidth = 32;

/// sum = start + the rows of `rows` with the indices in `places`.
void sumRows(std::int16_t *sum, const std::int16_t *start, const std::int16_t *rows, const std::uint32_t *places,
             std::size_t count);

/// The same without a start.
void sumRows(float *sum, const float *rows, const std::uint32_t *places, std::size_t count);

/// sum += row.
void addRow(float *sum, const float *row);

/// rounded = the row in units of 1 / steps, to the nearest.
void roundRow(std::int16_t *rounded, const float *row, float steps);

/// Rounds each value to the nearest multiple of 1 / steps.
void roundValues(float *values, int count, float steps);

/// output = sum / steps, clamped to 0 to 1.
void clampRow(float *output, const std::int16_t *sum, float steps);

/// Lists the indices of the values above 0; returns their number.
int listNonzero(std::uint16_t *nonzero, const float *values, int count);

/// sums[o] = biases[o] + input x weights, over hiddenWidth outputs; weights input by input. Takes only
/// the listed inputs.
void forwardLayer(float *sums, const float *input, const std::uint16_t *nonzero, int nonzeroCount, const float *weights,
                  const float *biases);

/// activations[o] = sums[o] clamped to 0 to 1, over hiddenWidth values.
void clampHidden(float *activations, const float *sums);

/// The clamp's backward pass: zeroes the gradients of sums outside 0 to 1.
void passClamp(float *gradients, const float *activations, int count);

/// Adds the gradient of an L1 penalty on the activations.
void addL1Penalty(float *gradients, const float *activations, float penalty, int count);

/// weightGradients[i][o] += input[i] x gradients[o], for the listed inputs.
void addOuterProduct(float *weightGradients, const float *input, const std::uint16_t *nonzero, int nonzeroCount,
                     const float *gradients);

/// inputGradients[i] = sum over o of weights[o][i] x gradients[o]; weights output by output.
/// `inputs` is a multiple of hiddenWidth.
void backwardLayer(float *inputGradients, const float *weights, const float *gradients, int inputs);

/// averages += (weights - averages) x share.
void moveAverages(float *averages, const float *weights, float share, int count);

/// Parameters of one step of Adam with decoupled weight decay (AdamW).
struct adamStep
{
    float rate = 0;    ///< learning rate, bias correction included
    float decay = 0;   ///< share of each weight that is removed
    float penalty = 0; ///< added to the gradient for each unit of a weight
    float limit = 0;   ///< weights are clamped to plus and minus this
    float epsilon = 0; ///< added to the root mean square gradient that divides the step
};
inline constexpr float meanDecay = 0.9F; ///< per step
inline constexpr float squareDecay = 0.999F;

/// One step on `count` weights with the gradient x `scale`.
void stepWeights(float *weights, float *means, float *squares, const float *gradient, float scale, int count,
                 const adamStep &step);

} // namespace tarvonel
