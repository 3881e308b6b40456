// Vector operations for the network, the only code that depends on an instruction set. The build uses the
// best of simdAvx512.h, simdAvx2.h, simdSsse3.h, simdSse2.h, simdNeon.h and simdPlain.h for its target.
// All of them give the same results.
//
// An `activation` is an output of a layer, 0 to 127. The next layer reads activations in chunks of 32 bits
// (4 bytes or 2 words), multiplies a chunk by the weights of several outputs and sums the products within
// the chunk. Each header defines:
//
//   buildName          the instruction set, as printed after the program's name
//   load16, store16, add16, subtract16
//                      vectors of 16-bit lanes
//   load32             a vector of 32-bit lanes
//   broadcastChunk     one chunk of activations in every 32-bit lane
//   multiplyAddChunk   adds the products of one chunk of inputs and weights to each lane of `sums`
//   multiplyAddTwoChunks
//                      the same for two chunks at once; the sum of products of each pair of
//                      neighbouring inputs of both chunks must fit in 16 bits
//   dotProduct         of a hidden layer's 32 activations and one output's weights
//   clipBlock          clamps clipBlockLanes accumulator lanes to activations; returns one bit per
//                      chunk, lowest first, set if the chunk is nonzero
//   clippedLane        the accumulator lane that `clipBlock` writes to an index of its output
//   activateSums       shifts and clamps a layer's 32 sums, in order
//
// Loads and stores are aligned to the vector size. Sums wrap.
#pragma once

#include <cstdint>
#include <cstring>

namespace tarvonel::simd
{

inline constexpr int activationMax = 127;
inline constexpr int hiddenShift = 6;      ///< log2 of the scale of the hidden layers' weights
inline constexpr int hiddenLayerSize = 32; ///< outputs of a hidden layer

/// A chunk of activations as a number.
inline std::int32_t chunkBits(const void *chunk)
{
    std::int32_t bits;
    std::memcpy(&bits, chunk, sizeof bits);
    return bits;
}

} // namespace tarvonel::simd

#if defined(TARVONEL_PLAIN_VECTORS)
#include "eval/simdPlain.h"
#elif defined(__AVX512BW__) && defined(__AVX512VNNI__)
#include "eval/simdAvx512.h"
#elif defined(__AVX2__)
#include "eval/simdAvx2.h"
#elif defined(__SSSE3__)
#include "eval/simdSsse3.h"
#elif defined(__SSE2__)
#include "eval/simdSse2.h"
#elif defined(__ARM_NEON)
#include "eval/simdNeon.h"
#else
#include "eval/simdPlain.h"
#endif

namespace tarvonel::simd
{

inline constexpr int lanes16 = sizeof(vector16) / sizeof(std::int16_t);
inline constexpr int lanes32 = sizeof(vector32) / sizeof(std::int32_t);
inline constexpr int chunkInputs = sizeof(std::int32_t) / sizeof(activation);
inline constexpr int clipBlockChunks = clipBlockLanes / chunkInputs;

} // namespace tarvonel::simd
