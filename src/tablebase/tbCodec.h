// Decompression of a sub-table: canonical Huffman codes for symbols that expand recursively into pairs of
// symbols (Re-Pair), in blocks of fixed size.
//
// In the file (numbers little-endian, block data big-endian):
//
//   header   flags 1 | block size 1 | span 1 | extra lengths 1 | blocks 4 | longest code 1 |
//            shortest code 1 | first symbol of each code length, shortest first, 2 each |
//            number of symbols 2 | symbol tree, 3 each | 1 byte of padding if that number is odd
//            block size (bytes) and span (indices) are given as log2
//            with flag 0x80 all positions have the same value; the header is flags 1 | value 1
//   sparse   for each span 6 bytes: the block with the middle index of the span 4, the offset of that
//            index in the block 2
//   lengths  for each block, and the extra ones, 2 bytes: the number of its values minus one
//   data     the blocks
//   tree     two numbers of 12 bits: the children, or the value and 4095 at a leaf
//
// Longer codes have lower symbol numbers and lower code values.
#pragma once

#include <cstdint>
#include <vector>

namespace tarvonel
{

inline constexpr int maxCodeLength = 32; ///< limited by the refill of the bit buffer
inline constexpr int corruptValue = -1;
inline constexpr std::uint64_t sparseEntryBytes = 6;

/// The pointers refer to the mapped file. Once `readCodecHeader` has accepted the header and the pointers
/// to the sections are set, decoding any index below the table's size stays inside the file. That holds
/// even if another program changes the file, because code lengths and symbol tree are copies.
struct blockCodec
{
    const std::uint8_t *sparseIndex = nullptr;
    const std::uint8_t *blockLengths = nullptr;
    const std::uint8_t *data = nullptr;
    std::uint64_t bases[maxCodeLength + 1] = {}; ///< lowest code of each length, left-aligned; by length - shortest
    std::uint16_t firstSymbols[maxCodeLength + 1] = {};
    std::vector<std::uint8_t> symbolTree;
    std::vector<std::uint8_t> symbolLengths; ///< number of values to which a symbol expands, minus one
    std::uint64_t spanCount = 0;
    std::uint32_t blockCount = 0;
    std::uint64_t lengthCount = 0; ///< number of block lengths, including those after the last block
    std::uint8_t flags = 0;
    std::uint8_t blockSizeBits = 0;
    std::uint8_t indexBits = 0; ///< log2 of the span; 0 if every position has `constantValue`
    std::uint8_t shortestCode = 0;
    std::uint8_t constantValue = 0;
};

/// Reads consecutive sections of a file. If one extends past the end, it and all later ones are null and
/// `failed` is set.
struct byteCursor
{
    const std::uint8_t *data;
    std::uint64_t size;
    std::uint64_t offset = 0;
    bool failed = false;

    const std::uint8_t *take(std::uint64_t count);
    std::uint8_t takeByte(); ///< 0 past the end
    void alignTo(std::uint64_t unit);
};

/// Reads the header at the cursor, for a sub-table of `tableSize` indices. False if it is invalid.
bool readCodecHeader(blockCodec &codec, byteCursor &file, std::uint64_t tableSize);

/// The stored 12-bit value of an index below the table's size, or `corruptValue`.
int decodeIndex(const blockCodec &codec, std::uint64_t index);

} // namespace tarvonel
