// The trainer's inner loops on arrays of floats, written so that the compiler vectorises them.
// They know nothing of chess and are compiled for the machine at hand.
#pragma once

namespace tarvonel
{

inline constexpr int transformerWidth = 256; ///< one side's first-layer values
inline constexpr int hiddenWidth = 32;

/// sum[i] += row[i], over a transformer row.
void addRow(float *sum, const float *row);

/// Rounds each value to the nearest multiple of 1 / steps.
void roundValues(float *values, int count, float steps);

/// output[i] = sum[i] held within 0 to 1, over a transformer row.
void clampRow(float *output, const float *sum);

/// sums[o] = biases[o] + input x weights, over hiddenWidth outputs; weights input by input.
void forwardLayer(float *sums, const float *input, const float *weights, const float *biases, int inputs);

/// activations[o] = sums[o] held within 0 to 1, over hiddenWidth values.
void clampHidden(float *activations, const float *sums);

/// Takes gradients through the clamp: those of sums that were outside 0 to 1 become 0.
void passClamp(float *gradients, const float *activations, int count);

/// weightGradients[i][o] += input[i] x gradients[o].
void addOuterProduct(float *weightGradients, const float *input, const float *gradients, int inputs);

/// inputGradients[i] = sum over o of weights[i][o] x gradients[o].
void backwardLayer(float *inputGradients, const float *weights, const float *gradients, const float *input, int inputs);

/// What one step of the Adam optimiser needs to know.
struct adamStep
{
    float rate = 0;     ///< learning rate with the correction for the first steps in it
    float beta1 = 0.9F; ///< decay of the mean gradient
    float beta2 = 0.999F;
    float epsilon = 1e-8F;
    float limit = 0; ///< the weights stay within plus and minus this
};

/// One step on `count` weights with the gradient x `scale`.
void stepWeights(float *weights, float *means, float *squares, const float *gradient, float scale, int count,
                 const adamStep &step);

} // namespace tarvonel
