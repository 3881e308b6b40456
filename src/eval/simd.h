// Vectors of 8-, 16- and 32-bit lanes for the network: the only place that knows the instruction
// set. One body each for AVX2, for SSE2, and in plain C++ for other processors (or for any, when
// TARVONEL_PLAIN_VECTORS is defined). All three give the same results.
//
// What the network's layers hand on is an `activation`, a number from 0 to 127. The next layer
// reads activations in groups that fill 32 bits, multiplies each group by the same inputs' weights
// of several outputs, and adds up within the group:
//
//   AVX2         byte activations, byte weights, groups of 4 inputs, 8 outputs per vector
//   SSE2, plain  16-bit activations and weights, groups of 2 inputs, 4 outputs per vector
//
// Loads and stores are aligned to the vector's size. Sums wrap.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>

#if defined(TARVONEL_PLAIN_VECTORS) || !(defined(__AVX2__) || defined(__SSE2__))
#include <algorithm>
#define TARVONEL_VECTORS_PLAIN
#elif defined(__AVX2__)
#include <immintrin.h>
#define TARVONEL_VECTORS_AVX2
#else
#include <emmintrin.h>
#define TARVONEL_VECTORS_SSE2
#endif

namespace tarvonel::simd
{

inline constexpr int activationMax = 127;
inline constexpr int hiddenShift = 6;      ///< scale of the hidden layers' weights, as a power of two
inline constexpr int clipBlockLanes = 32;  ///< lanes that `clipBlock` turns into activations at a time
inline constexpr int hiddenLayerSize = 32; ///< outputs of a hidden layer

#if defined(TARVONEL_VECTORS_AVX2)

using vector16 = __m256i;
using vector32 = __m256i;
using activation = std::uint8_t;
using groupWeight = std::int8_t;

inline vector16 load16(const std::int16_t *lanes)
{
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(lanes));
}
inline void store16(std::int16_t *lanes, vector16 v) { _mm256_store_si256(reinterpret_cast<__m256i *>(lanes), v); }
inline vector16 add16(vector16 a, vector16 b) { return _mm256_add_epi16(a, b); }
inline vector16 subtract16(vector16 a, vector16 b) { return _mm256_sub_epi16(a, b); }

inline vector32 load32(const std::int32_t *lanes)
{
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(lanes));
}
inline vector32 zero32() { return _mm256_setzero_si256(); }
inline vector32 loadActivations(const activation *groups)
{
    return _mm256_load_si256(reinterpret_cast<const __m256i *>(groups));
}
inline vector32 broadcastGroup(const activation *group)
{
    std::int32_t bits;
    std::memcpy(&bits, group, sizeof bits);
    return _mm256_set1_epi32(bits);
}
// Two products of 127 and a signed byte fit in 16 bits, so the saturating step never saturates.
inline vector32 multiplyAddGroups(vector32 sums, vector32 inputs, const groupWeight *weights)
{
    const __m256i pairSums =
        _mm256_maddubs_epi16(inputs, _mm256_load_si256(reinterpret_cast<const __m256i *>(weights)));
    return _mm256_add_epi32(sums, _mm256_madd_epi16(pairSums, _mm256_set1_epi16(1)));
}
inline vector32 multiplyAddTwoGroups(vector32 sums, vector32 inputsA, const groupWeight *weightsA, vector32 inputsB,
                                     const groupWeight *weightsB)
{
    const __m256i pairsA =
        _mm256_maddubs_epi16(inputsA, _mm256_load_si256(reinterpret_cast<const __m256i *>(weightsA)));
    const __m256i pairsB =
        _mm256_maddubs_epi16(inputsB, _mm256_load_si256(reinterpret_cast<const __m256i *>(weightsB)));
    const __m256i pairSums = _mm256_add_epi16(pairsA, pairsB);
    return _mm256_add_epi32(sums, _mm256_madd_epi16(pairSums, _mm256_set1_epi16(1)));
}
inline std::int32_t sumOfLanes(vector32 v)
{
    __m128i half = _mm_add_epi32(_mm256_castsi256_si128(v), _mm256_extracti128_si256(v, 1));
    half = _mm_add_epi32(half, _mm_shuffle_epi32(half, _MM_SHUFFLE(1, 0, 3, 2)));
    half = _mm_add_epi32(half, _mm_shuffle_epi32(half, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(half);
}
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    const __m256i packed = _mm256_packs_epi16(load16(lanes), load16(lanes + 16));
    const __m256i clipped = _mm256_max_epi8(packed, _mm256_setzero_si256());
    _mm256_store_si256(reinterpret_cast<__m256i *>(out), clipped);
    const __m256i alive = _mm256_cmpgt_epi32(clipped, _mm256_setzero_si256());
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(alive)));
}
// Packing works in each half of the vector by itself.
constexpr int clippedLane(int place) { return (place & 7) | (place & 8) << 1 | (place & 16) >> 1; }
inline void activateSums(const vector32 *sums, activation *out)
{
    const __m256i low = _mm256_srai_epi16(_mm256_packs_epi32(sums[0], sums[1]), hiddenShift);
    const __m256i high = _mm256_srai_epi16(_mm256_packs_epi32(sums[2], sums[3]), hiddenShift);
    const __m256i clipped = _mm256_max_epi8(_mm256_packs_epi16(low, high), _mm256_setzero_si256());
    const __m256i inOrder = _mm256_permutevar8x32_epi32(clipped, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    _mm256_store_si256(reinterpret_cast<__m256i *>(out), inOrder);
}

#elif defined(TARVONEL_VECTORS_SSE2)

using vector16 = __m128i;
using vector32 = __m128i;
using activation = std::int16_t;
using groupWeight = std::int16_t;

inline vector16 load16(const std::int16_t *lanes) { return _mm_load_si128(reinterpret_cast<const __m128i *>(lanes)); }
inline void store16(std::int16_t *lanes, vector16 v) { _mm_store_si128(reinterpret_cast<__m128i *>(lanes), v); }
inline vector16 add16(vector16 a, vector16 b) { return _mm_add_epi16(a, b); }
inline vector16 subtract16(vector16 a, vector16 b) { return _mm_sub_epi16(a, b); }

inline vector32 load32(const std::int32_t *lanes) { return _mm_load_si128(reinterpret_cast<const __m128i *>(lanes)); }
inline vector32 zero32() { return _mm_setzero_si128(); }
inline vector32 loadActivations(const activation *groups) { return load16(groups); }
inline vector32 broadcastGroup(const activation *group)
{
    std::int32_t bits;
    std::memcpy(&bits, group, sizeof bits);
    return _mm_shuffle_epi32(_mm_cvtsi32_si128(bits), 0);
}
inline vector32 multiplyAddGroups(vector32 sums, vector32 inputs, const groupWeight *weights)
{
    return _mm_add_epi32(sums, _mm_madd_epi16(load16(weights), inputs));
}
inline vector32 multiplyAddTwoGroups(vector32 sums, vector32 inputsA, const groupWeight *weightsA, vector32 inputsB,
                                     const groupWeight *weightsB)
{
    return multiplyAddGroups(multiplyAddGroups(sums, inputsA, weightsA), inputsB, weightsB);
}
inline std::int32_t sumOfLanes(vector32 v)
{
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(1, 0, 3, 2)));
    v = _mm_add_epi32(v, _mm_shuffle_epi32(v, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(v);
}
inline __m128i clip16(__m128i v) { return _mm_max_epi16(_mm_min_epi16(v, _mm_set1_epi16(activationMax)), zero32()); }
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    __m128i alive[4];
    for (int i = 0; i < 4; ++i)
    {
        const __m128i clipped = clip16(load16(lanes + 8 * i));
        store16(out + 8 * i, clipped);
        alive[i] = _mm_cmpgt_epi32(clipped, zero32());
    }
    const __m128i allAlive = _mm_packs_epi16(_mm_packs_epi32(alive[0], alive[1]), _mm_packs_epi32(alive[2], alive[3]));
    return static_cast<unsigned>(_mm_movemask_epi8(allAlive));
}
constexpr int clippedLane(int place) { return place; }
inline void activateSums(const vector32 *sums, activation *out)
{
    for (int i = 0; i < 4; ++i)
        store16(out + 8 * i, clip16(_mm_srai_epi16(_mm_packs_epi32(sums[2 * i], sums[2 * i + 1]), hiddenShift)));
}

#else

// The compiler's portable vectors: whatever the processor has, or plain loops.
using vector16 = std::int16_t __attribute__((vector_size(16)));
using vector32 = std::int32_t __attribute__((vector_size(16)));
using wrapping16 = std::uint16_t __attribute__((vector_size(16)));
using wrapping32 = std::uint32_t __attribute__((vector_size(16)));
using activation = std::int16_t;
using groupWeight = std::int16_t;

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
inline vector32 zero32() { return vector32{}; }
inline vector32 loadActivations(const activation *groups) { return loadVector<vector32>(groups); }
inline vector32 broadcastGroup(const activation *group)
{
    std::int32_t bits;
    std::memcpy(&bits, group, sizeof bits);
    return vector32{bits, bits, bits, bits};
}
// A product of 127 and a signed byte fits in 16 bits; the products of a pair are added in 32.
inline vector32 multiplyAddGroups(vector32 sums, vector32 inputs, const groupWeight *weights)
{
    const vector32 products = (vector32)(load16(weights) * (vector16)inputs);
    const vector32 lowHalves = (vector32)((wrapping32)products << 16) >> 16;
    return (vector32)((wrapping32)sums + (wrapping32)(lowHalves + (products >> 16)));
}
inline vector32 multiplyAddTwoGroups(vector32 sums, vector32 inputsA, const groupWeight *weightsA, vector32 inputsB,
                                     const groupWeight *weightsB)
{
    return multiplyAddGroups(multiplyAddGroups(sums, inputsA, weightsA), inputsB, weightsB);
}
inline std::int32_t sumOfLanes(vector32 v)
{
    std::uint32_t sum = 0;
    for (int i = 0; i < plainLanes; ++i)
        sum += static_cast<std::uint32_t>(v[i]);
    return static_cast<std::int32_t>(sum);
}
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    unsigned alive = 0;
    for (int i = 0; i < clipBlockLanes; ++i)
    {
        out[i] = std::clamp<std::int16_t>(lanes[i], 0, activationMax);
        alive |= static_cast<unsigned>(out[i] != 0) << (i / 2);
    }
    return alive;
}
constexpr int clippedLane(int place) { return place; }
inline void activateSums(const vector32 *sums, activation *out)
{
    for (int i = 0; i < hiddenLayerSize; ++i)
        out[i] =
            static_cast<activation>(std::clamp(sums[i / plainLanes][i % plainLanes] >> hiddenShift, 0, activationMax));
}

#endif

// What the operations above do, beyond what their names say:
//
// multiplyAddGroups  adds to each lane of `sums` the products of one group of inputs and weights
// multiplyAddTwoGroups
//                    the same for two groups at once, if each pair of neighbouring inputs of the
//                    one with that of the other gives a sum of products within 16 bits
// clipBlock          clamps 32 accumulator lanes to activations; returns a bit for each group of
//                    activations that is not all zero, the first group in the lowest bit
// clippedLane        which of the 32 lanes stands at a place of that output
// activateSums       shifts and clamps 32 sums of a layer; its output is in order

inline constexpr int lanes16 = sizeof(vector16) / sizeof(std::int16_t);
inline constexpr int lanes32 = sizeof(vector32) / sizeof(std::int32_t);
inline constexpr int groupInputs = sizeof(std::int32_t) / sizeof(activation);
inline constexpr int clipBlockGroups = clipBlockLanes / groupInputs;

} // namespace tarvonel::simd
