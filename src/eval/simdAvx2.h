// The vector operations of eval/simd.h with AVX2: byte activations, chunks of 4 inputs, 8 outputs per
// vector.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace tarvonel::simd
{

inline constexpr const char *buildName = " AVX2";

using vector16 = __m256i;
using vector32 = __m256i;
using activation = std::uint8_t;
using chunkWeight = std::int8_t;

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
inline vector32 broadcastChunk(const activation *chunk) { return _mm256_set1_epi32(chunkBits(chunk)); }
// The sum of two products of 127 and a signed byte fits in 16 bits, so nothing saturates.
inline vector32 multiplyAddChunk(vector32 sums, vector32 inputs, const chunkWeight *weights)
{
    const __m256i pairSums =
        _mm256_maddubs_epi16(inputs, _mm256_load_si256(reinterpret_cast<const __m256i *>(weights)));
    return _mm256_add_epi32(sums, _mm256_madd_epi16(pairSums, _mm256_set1_epi16(1)));
}
inline vector32 multiplyAddTwoChunks(vector32 sums, vector32 inputsA, const chunkWeight *weightsA, vector32 inputsB,
                                     const chunkWeight *weightsB)
{
    const __m256i pairsA =
        _mm256_maddubs_epi16(inputsA, _mm256_load_si256(reinterpret_cast<const __m256i *>(weightsA)));
    const __m256i pairsB =
        _mm256_maddubs_epi16(inputsB, _mm256_load_si256(reinterpret_cast<const __m256i *>(weightsB)));
    const __m256i pairSums = _mm256_add_epi16(pairsA, pairsB);
    return _mm256_add_epi32(sums, _mm256_madd_epi16(pairSums, _mm256_set1_epi16(1)));
}
inline std::int32_t dotProduct(const activation *inputs, const chunkWeight *weights)
{
    const __m256i products =
        multiplyAddChunk(_mm256_setzero_si256(), _mm256_load_si256(reinterpret_cast<const __m256i *>(inputs)), weights);
    __m128i sums = _mm_add_epi32(_mm256_castsi256_si128(products), _mm256_extracti128_si256(products, 1));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(1, 0, 3, 2)));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(sums);
}
inline constexpr int clipBlockLanes = 32;
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    const __m256i packed = _mm256_packs_epi16(load16(lanes), load16(lanes + 16));
    const __m256i clipped = _mm256_max_epi8(packed, _mm256_setzero_si256());
    _mm256_store_si256(reinterpret_cast<__m256i *>(out), clipped);
    const __m256i nonzero = _mm256_cmpgt_epi32(clipped, _mm256_setzero_si256());
    return static_cast<unsigned>(_mm256_movemask_ps(_mm256_castsi256_ps(nonzero)));
}
// Packing works within each half of the vector.
constexpr int clippedLane(int place) { return (place & 7) | (place & 8) << 1 | (place & 16) >> 1; }
inline void activateSums(const vector32 *sums, activation *out)
{
    const __m256i low = _mm256_srai_epi16(_mm256_packs_epi32(sums[0], sums[1]), hiddenShift);
    const __m256i high = _mm256_srai_epi16(_mm256_packs_epi32(sums[2], sums[3]), hiddenShift);
    const __m256i clipped = _mm256_max_epi8(_mm256_packs_epi16(low, high), _mm256_setzero_si256());
    const __m256i inOrder = _mm256_permutevar8x32_epi32(clipped, _mm256_setr_epi32(0, 4, 1, 5, 2, 6, 3, 7));
    _mm256_store_si256(reinterpret_cast<__m256i *>(out), inOrder);
}

} // namespace tarvonel::simd
