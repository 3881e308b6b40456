#include "learning/trainerKernels.h"

#include <cmath>
#include <cstring>

namespace tarvonel
{

namespace
{

#ifdef __AVX512F__
constexpr std::size_t vectorBytes = 64;
#else
constexpr std::size_t vectorBytes = 32;
#endif
constexpr int heldVectors = 8; ///< running sums at a time: more do not fit the registers of AVX2
template <typename Number> constexpr int lanesOf = static_cast<int>(vectorBytes / sizeof(Number));
template <typename Number> struct vectorOf
{
    using type [[gnu::vector_size(vectorBytes)]] = Number;
};
template <typename Number> using vector = typename vectorOf<Number>::type;

constexpr int hiddenVectors = hiddenWidth / lanesOf<float>;

template <typename Number> void load(vector<Number> &loaded, const Number *values)
{
    std::memcpy(&loaded, values, sizeof loaded);
}
template <typename Number> void store(Number *values, const vector<Number> &stored)
{
    std::memcpy(values, &stored, sizeof stored);
}

/// Some vectors of the sum at a time, so that they stay in registers over all rows.
template <typename Number> void sumRowsBlocked(Number *sum, const Number *start, const Number *rows,
                                               const std::uint32_t *places, std::size_t count)
{
    constexpr int width = heldVectors * lanesOf<Number>;
    static_assert(transformerWidth % width == 0);
    for (int first = 0; first < transformerWidth; first += width)
    {
        vector<Number> total[heldVectors] = {};
        for (int v = 0; start != nullptr && v < heldVectors; ++v)
            load(total[v], start + first + v * lanesOf<Number>);
        for (std::size_t i = 0; i < count; ++i)
        {
            const Number *row = rows + std::size_t{places[i]} * transformerWidth + first;
            for (int v = 0; v < heldVectors; ++v)
            {
                vector<Number> values;
                load(values, row + v * lanesOf<Number>);
                total[v] += values;
            }
        }
        for (int v = 0; v < heldVectors; ++v)
            store(sum + first + v * lanesOf<Number>, total[v]);
    }
}

/// `Vectors` vectors of input gradients, from the outputs that have a gradient.
template <int Vectors>
void backwardBlocks(float *inputGradients, const float *weights, const float *gradients, int inputs)
{
    int live[hiddenWidth];
    int liveCount = 0;
    for (int o = 0; o < hiddenWidth; ++o)
    {
        live[liveCount] = o;
        liveCount += gradients[o] != 0.0F ? 1 : 0;
    }
    constexpr int width = Vectors * lanesOf<float>;
    for (int first = 0; first < inputs; first += width)
    {
        vector<float> total[Vectors] = {};
        for (int k = 0; k < liveCount; ++k)
        {
            const float *row = weights + live[k] * inputs + first;
            const float gradient = gradients[live[k]];
            for (int v = 0; v < Vectors; ++v)
            {
                vector<float> values;
                load(values, row + v * lanesOf<float>);
                total[v] += values * gradient;
            }
        }
        for (int v = 0; v < Vectors; ++v)
            store(inputGradients + first + v * lanesOf<float>, total[v]);
    }
}

float clampUnit(float value) { return value < 0.0F ? 0.0F : value > 1.0F ? 1.0F : value; }

} // namespace

void sumRows(std::int16_t *sum, const std::int16_t *start, const std::int16_t *rows, const std::uint32_t *places,
             std::size_t count)
{
    sumRowsBlocked(sum, start, rows, places, count);
}

void sumRows(float *sum, const float *rows, const std::uint32_t *places, std::size_t count)
{
    sumRowsBlocked<float>(sum, nullptr, rows, places, count);
}

void addRow(float *__restrict sum, const float *__restrict row)
{
    for (int i = 0; i < transformerWidth; ++i)
        sum[i] += row[i];
}

void roundRow(std::int16_t *__restrict rounded, const float *__restrict row, float steps)
{
    for (int i = 0; i < transformerWidth; ++i)
        rounded[i] = static_cast<std::int16_t>(std::nearbyint(row[i] * steps));
}

void roundValues(float *values, int count, float steps)
{
    for (int i = 0; i < count; ++i)
        values[i] = std::nearbyint(values[i] * steps) / steps;
}

void clampRow(float *__restrict output, const std::int16_t *__restrict sum, float steps)
{
    for (int i = 0; i < transformerWidth; ++i)
        output[i] = clampUnit(static_cast<float>(sum[i]) / steps);
}

int listNonzero(std::uint16_t *__restrict nonzero, const float *__restrict values, int count)
{
    int listed = 0;
    for (int i = 0; i < count; ++i)
    {
        nonzero[listed] = static_cast<std::uint16_t>(i);
        listed += values[i] > 0.0F ? 1 : 0;
    }
    return listed;
}

void forwardLayer(float *sums, const float *input, const std::uint16_t *nonzero, int nonzeroCount, const float *weights,
                  const float *biases)
{
    // Several partial sums, to hide the latency of additions.
    constexpr int strands = heldVectors / hiddenVectors;
    vector<float> totals[strands][hiddenVectors] = {};
    const auto addInput = [&](int strand, int number)
    {
        const int i = nonzero[number];
        for (int v = 0; v < hiddenVectors; ++v)
        {
            vector<float> values;
            load(values, weights + i * hiddenWidth + v * lanesOf<float>);
            totals[strand][v] += values * input[i];
        }
    };
    int k = 0;
    for (; k + strands <= nonzeroCount; k += strands)
        for (int strand = 0; strand < strands; ++strand)
            addInput(strand, k + strand);
    for (; k < nonzeroCount; ++k)
        addInput(0, k);
    for (int v = 0; v < hiddenVectors; ++v)
    {
        vector<float> total;
        load(total, biases + v * lanesOf<float>);
        for (const auto &strand : totals)
            total += strand[v];
        store(sums + v * lanesOf<float>, total);
    }
}

void clampHidden(float *__restrict activations, const float *__restrict sums)
{
    for (int o = 0; o < hiddenWidth; ++o)
        activations[o] = clampUnit(sums[o]);
}

void passClamp(float *__restrict gradients, const float *__restrict activations, int count)
{
    for (int i = 0; i < count; ++i)
        gradients[i] = activations[i] > 0.0F && activations[i] < 1.0F ? gradients[i] : 0.0F;
}

void addL1Penalty(float *__restrict gradients, const float *__restrict activations, float penalty, int count)
{
    for (int i = 0; i < count; ++i)
        gradients[i] += activations[i] > 0.0F ? penalty : 0.0F;
}

void addOuterProduct(float *weightGradients, const float *input, const std::uint16_t *nonzero, int nonzeroCount,
                     const float *gradients)
{
    vector<float> slopes[hiddenVectors];
    for (int v = 0; v < hiddenVectors; ++v)
        load(slopes[v], gradients + v * lanesOf<float>);
    for (int k = 0; k < nonzeroCount; ++k)
        for (int v = 0; v < hiddenVectors; ++v)
        {
            float *place = weightGradients + nonzero[k] * hiddenWidth + v * lanesOf<float>;
            vector<float> total;
            load(total, place);
            total += slopes[v] * input[nonzero[k]];
            store(place, total);
        }
}

void backwardLayer(float *inputGradients, const float *weights, const float *gradients, int inputs)
{
    if (inputs % (heldVectors * lanesOf<float>) == 0)
        backwardBlocks<heldVectors>(inputGradients, weights, gradients, inputs);
    else
        backwardBlocks<hiddenVectors>(inputGradients, weights, gradients, inputs);
}

void moveAverages(float *__restrict averages, const float *__restrict weights, float share, int count)
{
    for (int i = 0; i < count; ++i)
        averages[i] += (weights[i] - averages[i]) * share;
}

void stepWeights(float *__restrict weights, float *__restrict means, float *__restrict squares,
                 const float *__restrict gradient, float scale, int count, const adamStep &step)
{
    constexpr float smallestSquare = 1e-30F; // fast square roots fail for denormal numbers: they give infinities
    const float rate = step.rate;
    const float kept = 1.0F - step.decay;
    const float penalty = step.penalty;
    const float limit = step.limit;
    const float epsilon = step.epsilon;
    for (int i = 0; i < count; ++i)
    {
        const float slope = gradient[i] * scale + penalty * weights[i];
        means[i] = meanDecay * means[i] + (1.0F - meanDecay) * slope;
        squares[i] = squareDecay * squares[i] + (1.0F - squareDecay) * slope * slope;
        const float moved = weights[i] * kept - rate * means[i] / (std::sqrt(squares[i] + smallestSquare) + epsilon);
        weights[i] = moved < -limit ? -limit : moved > limit ? limit : moved;
    }
}

} // namespace tarvonel
