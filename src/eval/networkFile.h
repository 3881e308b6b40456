// The parameters of the evaluation network and the file they come from.
//
// The file, all numbers little-endian, L being the length of the description:
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
// Bytes behind the last field are not read, and any file that is long enough is a network.
//
// Threads: the console thread alone loads, while no search runs; a search only reads.
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
    // One row per output. In a row of hidden1Weight the side to move's inputs come first.
    alignas(64) std::int32_t hidden1Bias[hiddenOutputs];
    std::int16_t hidden1Weight[hiddenOutputs][networkInputs];
    std::int32_t hidden2Bias[hiddenOutputs];
    std::int16_t hidden2Weight[hiddenOutputs][hiddenOutputs];
    std::int16_t outputWeight[hiddenOutputs];
    std::int32_t outputBias;

    // The same weights once more, chunk of inputs by chunk of inputs and in each chunk output by
    // output, as the vector operations take them.
    alignas(64) simd::chunkWeight hidden1Chunks[networkInputs * hiddenOutputs];
    alignas(64) simd::chunkWeight hidden2Chunks[hiddenOutputs * hiddenOutputs];
    alignas(64) simd::chunkWeight outputChunks[hiddenOutputs];
    /// Whether hidden1Chunks may be multiplied two at a time, as nets without a cluster of extreme
    /// weights may.
    bool hidden1TwoChunks;

    /// Counts the changes of the record, so that sums kept from an earlier network can be told.
    relaxed<std::uint32_t> generation;
};

extern networkWeights netWeights;

/// Whether `netWeights` holds a whole network.
extern relaxed<bool> netLoaded;

/// Reads a network into `weights`; false if the stream ends early, which leaves what it does not
/// hold unchanged.
bool readWeights(std::istream &stream, networkWeights &weights);

/// The same from the file of that name; false also if there is no such file. Refuses anything but a
/// regular file: reading a pipe could block forever.
bool readWeightsFile(const std::string &name, networkWeights &weights);

/// Read into `netWeights` and set `netLoaded` to their result, false while they read.
bool readNet(std::istream &stream);
bool loadNetFile(const std::string &name);

/// Derives the rearranged weights from the rows. Call after changing rows.
void arrangeWeights(networkWeights &weights);

} // namespace tarvonel
