// The vector operations of eval/simd.h with NEON, which every 64-bit ARM processor has: byte activations,
// chunks of 4 inputs, 4 outputs per vector.
#pragma once

#include <arm_neon.h>

#include <cstdint>

namespace tarvonel::simd
{

inline constexpr const char *buildName = " NEON";

using vector16 = int16x8_t;
using vector32 = int32x4_t;
using activation = std::int8_t;
using chunkWeight = std::int8_t;

inline vector16 load16(const std::int16_t *lanes) { return vld1q_s16(lanes); }
inline void store16(std::int16_t *lanes, vector16 v) { vst1q_s16(lanes, v); }
inline vector16 add16(vector16 a, vector16 b) { return vaddq_s16(a, b); }
inline vector16 subtract16(vector16 a, vector16 b) { return vsubq_s16(a, b); }

inline vector32 load32(const std::int32_t *lanes) { return vld1q_s32(lanes); }
inline vector32 broadcastChunk(const activation *chunk) { return vdupq_n_s32(chunkBits(chunk)); }
/// The sums of neighbouring products: two products of 127 and a signed byte fit in 16 bits.
inline int16x8_t pairProducts(vector32 inputs, const chunkWeight *weights)
{
    const int8x16_t bytes = vreinterpretq_s8_s32(inputs);
    const int8x16_t factors = vld1q_s8(weights);
    return vpaddq_s16(vmull_s8(vget_low_s8(bytes), vget_low_s8(factors)), vmull_high_s8(bytes, factors));
}
inline vector32 multiplyAddChunk(vector32 sums, vector32 inputs, const chunkWeight *weights)
{
    return vpadalq_s16(sums, pairProducts(inputs, weights));
}
inline vector32 multiplyAddTwoChunks(vector32 sums, vector32 inputsA, const chunkWeight *weightsA, vector32 inputsB,
                                     const chunkWeight *weightsB)
{
    return vpadalq_s16(sums, vaddq_s16(pairProducts(inputsA, weightsA), pairProducts(inputsB, weightsB)));
}
inline std::int32_t dotProduct(const activation *inputs, const chunkWeight *weights)
{
    vector32 sums = vdupq_n_s32(0);
    for (int i = 0; i < hiddenLayerSize; i += 16)
        sums = multiplyAddChunk(sums, vreinterpretq_s32_s8(vld1q_s8(inputs + i)), weights + i);
    return vaddvq_s32(sums);
}

/// Packs 16 lanes to bytes from 0 to 127.
inline int8x16_t clipToBytes(int16x8_t low, int16x8_t high)
{
    return vmaxq_s8(vcombine_s8(vqmovn_s16(low), vqmovn_s16(high)), vdupq_n_s8(0));
}
inline constexpr int clipBlockLanes = 32;
inline unsigned clipBlock(const std::int16_t *lanes, activation *out)
{
    const uint32x4_t chunkBits = {1, 2, 4, 8};
    unsigned nonzero = 0;
    for (int half = 0; half < 2; ++half)
    {
        const int8x16_t clipped = clipToBytes(load16(lanes + 16 * half), load16(lanes + 16 * half + 8));
        vst1q_s8(out + 16 * half, clipped);
        const uint32x4_t chunks = vreinterpretq_u32_s8(clipped);
        nonzero |= vaddvq_u32(vandq_u32(vtstq_u32(chunks, chunks), chunkBits)) << 4 * half;
    }
    return nonzero;
}
constexpr int clippedLane(int place) { return place; }
inline void activateSums(const vector32 *sums, activation *out)
{
    for (int half = 0; half < 2; ++half)
    {
        const vector32 *four = sums + 4 * half;
        const int16x8_t low = vcombine_s16(vqmovn_s32(four[0]), vqmovn_s32(four[1]));
        const int16x8_t high = vcombine_s16(vqmovn_s32(four[2]), vqmovn_s32(four[3]));
        vst1q_s8(out + 16 * half, clipToBytes(vshrq_n_s16(low, hiddenShift), vshrq_n_s16(high, hiddenShift)));
    }
}

} // namespace tarvonel::simd
