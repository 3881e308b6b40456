#include "tablebase/tbCodec.h"

#include "platform/littleEndian.h"

namespace tarvonel
{

namespace
{

constexpr int constantFlag = 0x80;
constexpr int treeEntryBytes = 3;
constexpr unsigned leafMark = 0xFFF;
constexpr int maxSizeBits = 31;
constexpr int refillBits = 32;
constexpr int maxSymbolLength = 255;

std::uint32_t readBig32(const std::uint8_t *at)
{
    return static_cast<std::uint32_t>(at[0]) << 24 | static_cast<std::uint32_t>(at[1]) << 16 |
           static_cast<std::uint32_t>(at[2]) << 8 | at[3];
}
std::uint64_t readBig64(const std::uint8_t *at)
{
    return static_cast<std::uint64_t>(readBig32(at)) << 32 | readBig32(at + 4);
}

unsigned leftChild(const std::uint8_t *entry) { return entry[0] | (entry[1] & 0x0Fu) << 8; }
unsigned rightChild(const std::uint8_t *entry) { return static_cast<unsigned>(entry[1] >> 4) | entry[2] * 16u; }

/// Computes the expanded length of a symbol and of its descendants. False if the tree has a cycle,
/// refers to a symbol that does not exist or expands too far.
bool computeLength(blockCodec &codec, std::vector<std::uint8_t> &visited, unsigned symbol)
{
    enum : std::uint8_t
    {
        untouched,
        inProgress,
        done
    };
    if (visited[symbol] != untouched)
        return visited[symbol] == done;
    visited[symbol] = inProgress;
    const std::uint8_t *entry = codec.symbolTree.data() + treeEntryBytes * symbol;
    const unsigned left = leftChild(entry), right = rightChild(entry);
    int length = 0;
    if (right != leafMark)
    {
        if (left >= visited.size() || right >= visited.size() || !computeLength(codec, visited, left) ||
            !computeLength(codec, visited, right))
            return false;
        length = codec.symbolLengths[left] + codec.symbolLengths[right] + 1;
        if (length > maxSymbolLength)
            return false;
    }
    codec.symbolLengths[symbol] = static_cast<std::uint8_t>(length);
    visited[symbol] = done;
    return true;
}

bool computeLengths(blockCodec &codec, unsigned symbolCount)
{
    codec.symbolLengths.assign(symbolCount, 0);
    std::vector<std::uint8_t> visited(symbolCount, 0);
    for (unsigned symbol = 0; symbol < symbolCount; ++symbol)
        if (!computeLength(codec, visited, symbol))
            return false;
    return true;
}

/// Computes the lowest code of each length from the first symbols. False if a bit sequence could decode to
/// a symbol that does not exist.
bool makeBases(blockCodec &codec, int lengths, unsigned symbolCount)
{
    for (int i = 1; i < lengths; ++i)
        if (codec.firstSymbols[i] > codec.firstSymbols[i - 1])
            return false;
    codec.bases[lengths - 1] = 0;
    for (int i = lengths - 2; i >= 0; --i)
        codec.bases[i] = (codec.bases[i + 1] + codec.firstSymbols[i] - codec.firstSymbols[i + 1]) / 2;
    // Codes of a length are below the base of the next shorter one, so only the shortest needs a check.
    const std::uint64_t shortestCodes = std::uint64_t{1} << codec.shortestCode;
    if (codec.bases[0] >= shortestCodes || codec.firstSymbols[0] + shortestCodes - codec.bases[0] > symbolCount)
        return false;
    for (int i = 0; i < lengths; ++i)
        codec.bases[i] <<= 64 - (codec.shortestCode + i);
    return true;
}

/// The location of an index: its block, and the number of values before it in that block.
struct valuePlace
{
    std::uint64_t block;
    int before;
};
constexpr valuePlace nowhere = {~std::uint64_t{0}, 0};

/// Walks from the middle of the span to the block of the index; `nowhere` if it leaves the blocks.
valuePlace findBlock(const blockCodec &codec, std::uint64_t index)
{
    const auto lengthOf = [&](std::uint64_t block)
    { return readLittle<std::uint16_t>(codec.blockLengths + 2 * block); };
    const std::uint8_t *sparse = codec.sparseIndex + sparseEntryBytes * (index >> codec.indexBits);
    std::uint64_t block = readLittle<std::uint32_t>(sparse);
    const std::int64_t span = std::int64_t{1} << codec.indexBits;
    std::int64_t before = static_cast<std::int64_t>(index & static_cast<std::uint64_t>(span - 1)) - span / 2 +
                          readLittle<std::uint16_t>(sparse + 4);
    if (block >= codec.lengthCount)
        return nowhere;
    while (before < 0)
    {
        if (block == 0)
            return nowhere;
        before += lengthOf(--block) + 1;
    }
    for (int length; before > (length = lengthOf(block));)
    {
        before -= length + 1;
        if (++block >= codec.lengthCount)
            return nowhere;
    }
    return {block, static_cast<int>(before)};
}

/// Decodes a block up to the symbol that contains the value at offset `before`, which becomes the offset
/// within the symbol.
unsigned findSymbol(const blockCodec &codec, std::uint64_t block, int &before)
{
    // The next bits are the highest of the buffer. Past the end of the block they are 0.
    const std::uint8_t *next = codec.data + (block << codec.blockSizeBits);
    const std::uint8_t *end = next + (std::size_t{1} << codec.blockSizeBits);
    std::uint64_t buffer = readBig64(next);
    next += 8;
    int used = 0; // bits consumed since the last refill
    for (;;)
    {
        int length = 0;
        while (buffer < codec.bases[length])
            ++length;
        const int bits = codec.shortestCode + length;
        const unsigned symbol =
            codec.firstSymbols[length] + static_cast<unsigned>((buffer - codec.bases[length]) >> (64 - bits));
        const int values = codec.symbolLengths[symbol] + 1;
        if (before < values)
            return symbol;
        before -= values;
        buffer <<= bits;
        used += bits;
        if (used >= refillBits)
        {
            used -= refillBits;
            if (next < end)
            {
                buffer |= static_cast<std::uint64_t>(readBig32(next)) << used;
                next += 4;
            }
        }
    }
}

/// Expands a symbol to the value at offset `before`.
int findValue(const blockCodec &codec, unsigned symbol, int before)
{
    for (;;)
    {
        const std::uint8_t *entry = codec.symbolTree.data() + treeEntryBytes * symbol;
        const unsigned left = leftChild(entry);
        if (codec.symbolLengths[symbol] == 0)
            return static_cast<int>(left);
        const int values = codec.symbolLengths[left] + 1;
        if (before < values)
            symbol = left;
        else
        {
            before -= values;
            symbol = rightChild(entry);
        }
    }
}

} // namespace

const std::uint8_t *byteCursor::take(std::uint64_t count)
{
    if (failed || offset > size || count > size - offset)
    {
        failed = true;
        return nullptr;
    }
    const std::uint8_t *start = data + offset;
    offset += count;
    return start;
}

std::uint8_t byteCursor::takeByte()
{
    const std::uint8_t *byte = take(1);
    return byte != nullptr ? *byte : std::uint8_t{0};
}

void byteCursor::alignTo(std::uint64_t unit) { offset = (offset + unit - 1) & ~(unit - 1); }

bool readCodecHeader(blockCodec &codec, byteCursor &file, std::uint64_t tableSize)
{
    codec.flags = file.takeByte();
    if (codec.flags & constantFlag)
    {
        codec.constantValue = file.takeByte();
        return !file.failed;
    }
    codec.blockSizeBits = file.takeByte();
    codec.indexBits = file.takeByte();
    const unsigned extraLengths = file.takeByte();
    const std::uint8_t *counts = file.take(6);
    if (counts == nullptr)
        return false;
    codec.blockCount = readLittle<std::uint32_t>(counts);
    codec.lengthCount = static_cast<std::uint64_t>(codec.blockCount) + extraLengths;
    const int longest = counts[4], shortest = counts[5];
    if (codec.blockSizeBits > maxSizeBits || codec.indexBits == 0 || codec.indexBits > maxSizeBits ||
        codec.blockCount == 0 || shortest < 1 || longest < shortest || longest > maxCodeLength)
        return false;
    codec.shortestCode = static_cast<std::uint8_t>(shortest);
    codec.spanCount = (tableSize + (std::uint64_t{1} << codec.indexBits) - 1) >> codec.indexBits;

    const int lengths = longest - shortest + 1;
    const std::uint8_t *first = file.take(2 * static_cast<std::uint64_t>(lengths));
    const std::uint8_t *count = file.take(2);
    if (count == nullptr)
        return false;
    for (int i = 0; i < lengths; ++i)
        codec.firstSymbols[i] = readLittle<std::uint16_t>(first + 2 * i);
    const unsigned symbolCount = readLittle<std::uint16_t>(count);
    const std::uint64_t treeBytes = treeEntryBytes * static_cast<std::uint64_t>(symbolCount);
    const std::uint8_t *tree = file.take(treeBytes + symbolCount % 2);
    if (tree == nullptr || symbolCount == 0 || symbolCount > leafMark)
        return false;
    codec.symbolTree.assign(tree, tree + treeBytes);
    return makeBases(codec, lengths, symbolCount) && computeLengths(codec, symbolCount);
}

int decodeIndex(const blockCodec &codec, std::uint64_t index)
{
    if (codec.indexBits == 0)
        return codec.constantValue;
    auto [block, before] = findBlock(codec, index);
    if (block >= codec.blockCount)
        return corruptValue;
    const unsigned symbol = findSymbol(codec, block, before);
    return findValue(codec, symbol, before);
}

} // namespace tarvonel
