// The vector operations of eval/simd.h for any processor: 16-bit activations, chunks of 2 inputs, 4
// outputs per vector.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstring>

namespace tarvonel::simd
{

inline constexpr const char *buildName = " generic";

// The compiler's portable vectors.
using vector16 = std::int16_t __attribute__((vector_size(16)));
using vector32 = std::int32_t __attribute__((vector_size(16)));
using wrapping16 = std::uint16_t __attribute__((vector_size(16)));
using wrapping32 = std::uint32_t __attribute__((vector_size(16)));
using activation = std::int16_t;
using chunkWeight = std::int16_t;

inline constexpr int plainLanes = 4;

template <typename Vector, typename Lane> Vector loadVector(const Lane *lanes)
{
    Vector v;
    std::memcpy(&v, lanes, sizeof v);
    return v;
}
inline vector16 load16(const std::int16_t *lanes) { return loadVector<vector16>(lanes); }
inline void store16(std::int16_t *lanes, vector16 v) { std::memcpy(lanes, &v, sizeof v); }
inline vector16 add16(vector16 a, vector16 b) { return (vector16)((wrapping16)a + (wrapping16)b); }
inline vector16 subtract16(vector16 a, vector16 b) { return (vector16)((wrapping16)a - (wrapping16)b); }

inline vector32 load32(const std::int32_t *lanes) { return loadVector<vector32>(lanes); }
inline vector32 broadcastChunk(const activation *chunk)
{
    const std::int32_t bits = chunkBits(chunk);
    return vector32{bits, bits, bits, bits};
}
// A product of 127 and a signed byte fits in 16 bits; the products of a pair are added in 32.
inline vector32 multiplyAddChunk(vector32 sums, vector32 inputs, const chunkWeight *weights)
{
    const vector32 products = (vector32)(load16(weights) * (vector16)inputs);
    const vector32 lowHalves = (vector32)((wrapping32)products << 16) >> 16;
    return (vector32)((wrapping32)sums + (wrapping32)(lowHalves + (products >> 16)));
}
inline vector32 multiplyAddTwoChunks(vector32 sums, vector32 inputsA, const chunkWeight *weightsA, vector32 inputsB,
                                     const chunkWeight *weightsB)
{
    return multiplyAddChunk(multiplyAddChunk(sums, inputsA, weightsA), inputsB, weightsB);
}
inline std::int32_t dotProduct(const activation *inputs, const chunkWeight *weights)
{
    std::int32_t sum = 0;
    for (int i = 0; i < hiddenLayerSize; ++i)
        sum += inputs[i] * weights[i];
    return sum;
}
inline constexpr int clipBlockLanes = 32;
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    unsigned nonzero = 0;
    for (int i = 0; i < clipBlockLanes; ++i)
    {
        out[i] = std::clamp<std::int16_t>(lanes[i], 0, activationMax);
        nonzero |= static_cast<unsigned>(out[i] != 0) << (i / 2);
    }
    return nonzero;
}
constexpr int clippedLane(int place) { return place; }
inline void activateSums(const vector32 *sums, activation *out)
{
    for (int i = 0; i < hiddenLayerSize; ++i)
        out[i] =
            static_cast<activation>(std::clamp(sums[i / plainLanes][i % plainLanes] >> hiddenShift, 0, activationMax));
}

} // namespace tarvonel::simd
