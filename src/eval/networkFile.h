// The weights of the evaluation network and their file format.
//
// Format; all numbers are little-endian, L is the length of the description:
//
//   offset          size        content
//   0               4           version, ignored
//   4               4           hash, ignored
//   8               4           L
//   12              L           description, ignored
//   12+L            4           hash of the first layer, ignored
//   16+L            512         featureBias: 256 signed 16-bit
//   528+L           25,165,824  featureWeight: 49152 rows of 256 signed 16-bit
//   25,166,352+L    4           hash of the hidden layers, ignored
//   25,166,356+L    128         hidden1Bias: 32 signed 32-bit
//   25,166,484+L    16,384      hidden1Weight: 32 rows of 512 signed 8-bit
//   25,182,868+L    128         hidden2Bias: 32 signed 32-bit
//   25,182,996+L    1,024       hidden2Weight: 32 rows of 32 signed 8-bit
//   25,184,020+L    4           outputBias: signed 32-bit
//   25,184,024+L    32          outputWeight: 32 signed 8-bit
//
// Any file that is long enough is accepted; bytes after the last field are ignored.
//
// Threads: only the UCI loop loads networks, and only while no search runs.
#pragma once

#include <cstdint>
#include <istream>
#include <string>

#include "board/pos.h"
#include "eval/simd.h"
#include "platform/relaxed.h"

namespace tarvonel
{

inline constexpr int kingSquareFeatures = pieceKinds * squareCount; ///< rows of one king square
inline constexpr int featureCount = squareCount * kingSquareFeatures;
inline constexpr int networkInputs = colourCount * accumulatorLanes;
inline constexpr int hiddenOutputs = simd::hiddenLayerSize;

struct networkWeights
{
    alignas(64) std::int16_t featureBias[accumulatorLanes];
    std::int16_t featureWeight[featureCount][accumulatorLanes];
    // One row per output. In hidden1Weight the inputs of the side to move come first.
    alignas(64) std::int32_t hidden1Bias[hiddenOutputs];
    std::int16_t hidden1Weight[hiddenOutputs][networkInputs];
    std::int32_t hidden2Bias[hiddenOutputs];
    std::int16_t hidden2Weight[hiddenOutputs][hiddenOutputs];
    std::int16_t outputWeight[hiddenOutputs];
    std::int32_t outputBias;

    // The same weights in the order of the vector operations: by chunk of inputs, then by output.
    alignas(64) simd::chunkWeight hidden1Chunks[networkInputs * hiddenOutputs];
    alignas(64) simd::chunkWeight hidden2Chunks[hiddenOutputs * hiddenOutputs];
    alignas(64) simd::chunkWeight outputChunks[hiddenOutputs];
    bool hidden1TwoChunks; ///< `multiplyAddTwoChunks` cannot overflow with hidden1Chunks

    /// Number of changes to the weights, so that sums computed with earlier ones can be detected.
    relaxed<std::uint32_t> generation;
};

extern networkWeights netWeights;

extern relaxed<bool> netLoaded; ///< `netWeights` holds a complete network

/// Reads a network into `weights`. Returns false if the stream ends early; the remaining weights keep
/// their values.
bool readWeights(std::istream &stream, networkWeights &weights);

/// The same from a file. Also returns false if there is no regular file of that name; a pipe could block
/// forever.
bool readWeightsFile(const std::string &name, networkWeights &weights);

/// Both read into `netWeights`. They set `netLoaded` to false while they read, then to their result.
bool readNet(std::istream &stream);
bool loadNetFile(const std::string &name);

/// Updates the rearranged weights. Call after changing rows.
void arrangeWeights(networkWeights &weights);

} // namespace tarvonel
