// Vectors of 8-, 16- and 32-bit lanes for the network. Nothing but these headers knows the
// instruction set: each of simdAvx512.h, simdAvx2.h, simdSsse3.h, simdSse2.h, simdNeon.h and
// simdPlain.h is one body of the operations below, and the build takes the best that the processor
// it is for has. All give the same results.
//
// What the network's layers hand on is an `activation`, a number from 0 to 127. The next layer
// reads activations in chunks that fill 32 bits (4 bytes or 2 words), multiplies each chunk by the
// same inputs' weights of several outputs, and adds up within the chunk.
//
//   buildName          the instruction set, as the program names it behind its own name
//   load16, store16, add16, subtract16
//                      vectors of 16-bit lanes; sums wrap
//   load32             a vector of 32-bit lanes
//   broadcastChunk     one chunk of activations in every 32-bit lane
//   multiplyAddChunk  adds to each lane of `sums` the products of one chunk of inputs and weights
//   multiplyAddTwoChunks
//                      the same for two chunks at once, if each pair of neighbouring inputs of the
//                      one with that of the other gives a sum of products within 16 bits
//   dotProduct         of a hidden layer's 32 activations and one output's weights
//   clipBlock          clamps clipBlockLanes accumulator lanes to activations; returns a bit for
//                      each chunk of activations that is not all zero, the first chunk in the
//                      lowest bit
//   clippedLane        which of these lanes stands at a place of that output
//   activateSums       shifts and clamps 32 sums of a layer; its output is in order
//
// Loads and stores are aligned to the vector's size. Sums wrap.
#pragma once

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
