#include "learning/trainerKernels.h"

#include <cmath>

namespace tarvonel
{

namespace
{

float clampUnit(float value) { return value < 0.0F ? 0.0F : value > 1.0F ? 1.0F : value; }

} // namespace

void addRow(float *__restrict sum, const float *__restrict row)
{
    for (int i = 0; i < transformerWidth; ++i)
    {
        sum[i] += row[i];
    }
}

void roundValues(float *values, int count, float steps)
{
    for (int i = 0; i < count; ++i)
    {
        values[i] = std::nearbyint(values[i] * steps) / steps;
    }
}

void clampRow(float *__restrict output, const float *__restrict sum)
{
    for (int i = 0; i < transformerWidth; ++i)
    {
        output[i] = clampUnit(sum[i]);
    }
}

void forwardLayer(float *__restrict sums, const float *__restrict input, const float *__restrict weights,
                  const float *__restrict biases, int inputs)
{
    float totals[hiddenWidth];
    for (int o = 0; o < hiddenWidth; ++o)
    {
        totals[o] = biases[o];
    }
    for (int i = 0; i < inputs; ++i)
    {
        const float value = input[i];
        if (value == 0.0F)
        {
            continue;
        }
        const float *row = weights + i * hiddenWidth;
        for (int o = 0; o < hiddenWidth; ++o)
        {
            totals[o] += value * row[o];
        }
    }
    for (int o = 0; o < hiddenWidth; ++o)
    {
        sums[o] = totals[o];
    }
}

void clampHidden(float *__restrict activations, const float *__restrict sums)
{
    for (int o = 0; o < hiddenWidth; ++o)
    {
        activations[o] = clampUnit(sums[o]);
    }
}

void passClamp(float *__restrict gradients, const float *__restrict activations, int count)
{
    for (int i = 0; i < count; ++i)
    {
        gradients[i] = activations[i] > 0.0F && activations[i] < 1.0F ? gradients[i] : 0.0F;
    }
}

void addOuterProduct(float *__restrict weightGradients, const float *__restrict input,
                     const float *__restrict gradients, int inputs)
{
    for (int i = 0; i < inputs; ++i)
    {
        const float value = input[i];
        if (value == 0.0F)
        {
            continue;
        }
        float *row = weightGradients + i * hiddenWidth;
        for (int o = 0; o < hiddenWidth; ++o)
        {
            row[o] += value * gradients[o];
        }
    }
}

void backwardLayer(float *__restrict inputGradients, const float *__restrict weights, const float *__restrict gradients,
                   const float *__restrict input, int inputs)
{
    for (int i = 0; i < inputs; ++i)
    {
        float total = 0.0F;
        if (input[i] > 0.0F && input[i] < 1.0F)
        {
            const float *row = weights + i * hiddenWidth;
            for (int o = 0; o < hiddenWidth; ++o)
            {
                total += row[o] * gradients[o];
            }
        }
        inputGradients[i] = total;
    }
}

void stepWeights(float *__restrict weights, float *__restrict means, float *__restrict squares,
                 const float *__restrict gradient, float scale, int count, const adamStep &step)
{
    const float rate = step.rate;
    const float beta1 = step.beta1;
    const float beta2 = step.beta2;
    const float epsilon = step.epsilon;
    const float limit = step.limit;
    for (int i = 0; i < count; ++i)
    {
        const float slope = gradient[i] * scale;
        means[i] = beta1 * means[i] + (1.0F - beta1) * slope;
        squares[i] = beta2 * squares[i] + (1.0F - beta2) * slope * slope;
        const float moved = weights[i] - rate * means[i] / (std::sqrt(squares[i]) + epsilon);
        weights[i] = moved < -limit ? -limit : moved > limit ? limit : moved;
    }
}

} // namespace tarvonel
