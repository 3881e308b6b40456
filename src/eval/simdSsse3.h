// The vector operations of eval/simd.h with SSSE3: byte activations, chunks of 4 inputs, 4 outputs per
// vector.
#pragma once

#include <tmmintrin.h>

#include <cstdint>

namespace tarvonel::simd
{

inline constexpr const char *buildName = " SSSE3";

using vector16 = __m128i;
using vector32 = __m128i;
using activation = std::uint8_t;
using chunkWeight = std::int8_t;

template <typename Lane> __m128i loadVector(const Lane *lanes)
{
    return _mm_load_si128(reinterpret_cast<const __m128i *>(lanes));
}
template <typename Lane> void storeVector(Lane *lanes, __m128i v)
{
    _mm_store_si128(reinterpret_cast<__m128i *>(lanes), v);
}

inline vector16 load16(const std::int16_t *lanes) { return loadVector(lanes); }
inline void store16(std::int16_t *lanes, vector16 v) { storeVector(lanes, v); }
inline vector16 add16(vector16 a, vector16 b) { return _mm_add_epi16(a, b); }
inline vector16 subtract16(vector16 a, vector16 b) { return _mm_sub_epi16(a, b); }

inline vector32 load32(const std::int32_t *lanes) { return loadVector(lanes); }
inline vector32 broadcastChunk(const activation *chunk)
{
    return _mm_shuffle_epi32(_mm_cvtsi32_si128(chunkBits(chunk)), 0);
}
// The sum of two products of 127 and a signed byte fits in 16 bits, so nothing saturates.
inline vector32 multiplyAddChunk(vector32 sums, vector32 inputs, const chunkWeight *weights)
{
    const __m128i pairSums = _mm_maddubs_epi16(inputs, loadVector(weights));
    return _mm_add_epi32(sums, _mm_madd_epi16(pairSums, _mm_set1_epi16(1)));
}
inline vector32 multiplyAddTwoChunks(vector32 sums, vector32 inputsA, const chunkWeight *weightsA, vector32 inputsB,
                                     const chunkWeight *weightsB)
{
    const __m128i pairSums = _mm_add_epi16(_mm_maddubs_epi16(inputsA, loadVector(weightsA)),
                                           _mm_maddubs_epi16(inputsB, loadVector(weightsB)));
    return _mm_add_epi32(sums, _mm_madd_epi16(pairSums, _mm_set1_epi16(1)));
}
inline std::int32_t dotProduct(const activation *inputs, const chunkWeight *weights)
{
    __m128i sums = multiplyAddChunk(_mm_setzero_si128(), loadVector(inputs), weights);
    sums = multiplyAddChunk(sums, loadVector(inputs + 16), weights + 16);
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(1, 0, 3, 2)));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(sums);
}

/// Packs 16 lanes to bytes from 0 to 127.
inline __m128i clipToBytes(__m128i low, __m128i high)
{
    const __m128i zero = _mm_setzero_si128();
    return _mm_packs_epi16(_mm_max_epi16(low, zero), _mm_max_epi16(high, zero));
}
inline constexpr int clipBlockLanes = 32;
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    unsigned nonzero = 0;
    for (int half = 0; half < 2; ++half)
    {
        const __m128i clipped = clipToBytes(load16(lanes + 16 * half), load16(lanes + 16 * half + 8));
        storeVector(out + 16 * half, clipped);
        const __m128i nonzeroChunks = _mm_cmpgt_epi32(clipped, _mm_setzero_si128());
        nonzero |= static_cast<unsigned>(_mm_movemask_ps(_mm_castsi128_ps(nonzeroChunks))) << 4 * half;
    }
    return nonzero;
}
constexpr int clippedLane(int place) { return place; }
inline void activateSums(const vector32 *sums, activation *out)
{
    for (int half = 0; half < 2; ++half)
    {
        const vector32 *four = sums + 4 * half;
        storeVector(out + 16 * half, clipToBytes(_mm_srai_epi16(_mm_packs_epi32(four[0], four[1]), hiddenShift),
                                                 _mm_srai_epi16(_mm_packs_epi32(four[2], four[3]), hiddenShift)));
    }
}

} // namespace tarvonel::simd
