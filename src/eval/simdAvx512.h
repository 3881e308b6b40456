// The vector operations of eval/simd.h with AVX-512 and its neural network instructions (VNNI): byte
// activations, chunks of 4 inputs, 16 outputs per vector.
#pragma once

#include <immintrin.h>

#include <cstdint>

namespace tarvonel::simd
{

inline constexpr const char *buildName = " AVX512";

using vector16 = __m512i;
using vector32 = __m512i;
using activation = std::uint8_t;
using chunkWeight = std::int8_t;

inline vector16 load16(const std::int16_t *lanes) { return _mm512_load_si512(lanes); }
inline void store16(std::int16_t *lanes, vector16 v) { _mm512_store_si512(lanes, v); }
inline vector16 add16(vector16 a, vector16 b) { return _mm512_add_epi16(a, b); }
inline vector16 subtract16(vector16 a, vector16 b) { return _mm512_sub_epi16(a, b); }

inline vector32 load32(const std::int32_t *lanes) { return _mm512_load_si512(lanes); }
inline vector32 broadcastChunk(const activation *chunk) { return _mm512_set1_epi32(chunkBits(chunk)); }
inline vector32 multiplyAddChunk(vector32 sums, vector32 inputs, const chunkWeight *weights)
{
    return _mm512_dpbusd_epi32(sums, inputs, _mm512_load_si512(weights));
}
// Sums the products separately from the running sums, so that each step depends on one addition, not on
// two multiplications.
inline vector32 multiplyAddTwoChunks(vector32 sums, vector32 inputsA, const chunkWeight *weightsA, vector32 inputsB,
                                     const chunkWeight *weightsB)
{
    const vector32 products = multiplyAddChunk(_mm512_setzero_si512(), inputsA, weightsA);
    return _mm512_add_epi32(sums, multiplyAddChunk(products, inputsB, weightsB));
}
inline std::int32_t dotProduct(const activation *inputs, const chunkWeight *weights)
{
    const __m256i products =
        _mm256_dpbusd_epi32(_mm256_setzero_si256(), _mm256_load_si256(reinterpret_cast<const __m256i *>(inputs)),
                            _mm256_load_si256(reinterpret_cast<const __m256i *>(weights)));
    __m128i sums = _mm_add_epi32(_mm256_castsi256_si128(products), _mm256_extracti128_si256(products, 1));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(1, 0, 3, 2)));
    sums = _mm_add_epi32(sums, _mm_shuffle_epi32(sums, _MM_SHUFFLE(2, 3, 0, 1)));
    return _mm_cvtsi128_si32(sums);
}
inline constexpr int clipBlockLanes = 64;
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    const __m512i packed = _mm512_packs_epi16(load16(lanes), load16(lanes + 32));
    const __m512i clipped = _mm512_max_epi8(packed, _mm512_setzero_si512());
    _mm512_store_si512(out, clipped);
    return _mm512_test_epi32_mask(clipped, clipped);
}
// Packing works within each quarter of the vector.
constexpr int clippedLane(int place) { return (place & 7) | (place & 8) << 2 | (place & 48) >> 1; }
inline void activateSums(const vector32 *sums, activation *out)
{
    constexpr __mmask16 allLanes = 0xFFFF; // gcc warns of uninitialised values in the unmasked forms
    for (int i = 0; i < 2; ++i)
    {
        const __m512i shifted = _mm512_maskz_srai_epi32(allLanes, sums[i], hiddenShift);
        const __m128i clipped = _mm_max_epi8(_mm512_maskz_cvtsepi32_epi8(allLanes, shifted), _mm_setzero_si128());
        _mm_store_si128(reinterpret_cast<__m128i *>(out) + i, clipped);
    }
}

} // namespace tarvonel::simd
