// The vector operations of eval/simd.h with SSE2: 16-bit activations, chunks of 2 inputs, 4 outputs per
// vector.
#pragma once

#include <emmintrin.h>

#include <cstdint>

namespace tarvonel::simd
{

inline constexpr const char *buildName = " SSE2";

using vector16 = __m128i;
using vector32 = __m128i;
using activation = std::int16_t;
using chunkWeight = std::int16_t;

inline vector16 load16(const std::int16_t *lanes) { return _mm_load_si128(reinterpret_cast<const __m128i *>(lanes)); }
inline void store16(std::int16_t *lanes, vector16 v) { _mm_store_si128(reinterpret_cast<__m128i *>(lanes), v); }
inline vector16 add16(vector16 a, vector16 b) { return _mm_add_epi16(a, b); }
inline vector16 subtract16(vector16 a, vector16 b) { return _mm_sub_epi16(a, b); }

inline vector32 load32(const std::int32_t *lanes) { return _mm_load_si128(reinterpret_cast<const __m128i *>(lanes)); }
inline vector32 broadcastChunk(const activation *chunk)
{
    return _mm_shuffle_epi32(_mm_cvtsi32_si128(chunkBits(chunk)), 0);
}
inline vector32 multiplyAddChunk(vector32 sums, vector32 inputs, const chunkWeight *weights)
{
    return _mm_add_epi32(sums, _mm_madd_epi16(load16(weights), inputs));
}
inline vector32 multiplyAddTwoChunks(vector32 sums, vector32 inputsA, const chunkWeight *weightsA, vector32 inputsB,
                                     const chunkWeight *weightsB)
{
    return multiplyAddChunk(multiplyAddChunk(sums, inputsA, weightsA), inputsB, weightsB);
}
inline std::int32_t dotProduct(const activation *inputs, const chunkWeight *weights)
{
    __m128i sums = _mm_setzero_si128();
    for (int i = 0; i < hiddenLayerSize; i += 8)
        sums = multiplyAddChunk(sums, load16(inputs + i), weights + i);
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(1, 0, 3, 2)));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(sums);
}
inline constexpr int clipBlockLanes = 32;
inline __m128i clip16(__m128i v)
{
    return _mm_max_epi16(_mm_min_epi16(v, _mm_set1_epi16(activationMax)), _mm_setzero_si128());
}
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    __m128i nonzero[4];
    for (int i = 0; i < 4; ++i)
    {
        const __m128i clipped = clip16(load16(lanes + 8 * i));
        store16(out + 8 * i, clipped);
        nonzero[i] = _mm_cmpgt_epi32(clipped, _mm_setzero_si128());
    }
    const __m128i allNonzero =
        _mm_packs_epi16(_mm_packs_epi32(nonzero[0], nonzero[1]), _mm_packs_epi32(nonzero[2], nonzero[3]));
    return static_cast<unsigned>(_mm_movemask_epi8(allNonzero));
}
constexpr int clippedLane(int place) { return place; }
inline void activateSums(const vector32 *sums, activation *out)
{
    for (int i = 0; i < 4; ++i)
        store16(out + 8 * i, clip16(_mm_srai_epi16(_mm_packs_epi32(sums[2 * i], sums[2 * i + 1]), hiddenShift)));
}

} // namespace tarvonel::simd
