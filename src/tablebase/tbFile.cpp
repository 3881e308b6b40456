#include "tablebase/tbFile.h"

#include <algorithm>

#include "platform/littleEndian.h"

namespace tarvonel
{

namespace
{

enum fileFlags : int
{
    bothSidesFlag = 1,
    pawnsFlag = 2,
};
constexpr std::uint64_t flagsOffset = 4;
constexpr std::uint64_t dataAlignment = 64;
constexpr int noOrder = 0xF;

/// By wdl + 2: the map of DTZ values, and the flag for values in plies rather than moves.
constexpr int mapOfWdl[] = {1, 3, 0, 2, 0};
constexpr int pliesFlagOfWdl[] = {dtzLossPliesFlag, 0, 0, 0, dtzWinPliesFlag};
constexpr int wdlValues = 5;
constexpr int lossValue = -2;

constexpr int typeOfCode(int code) { return (code & tbTypeMask) - 1; }

/// Whether the order consists of the tablebase's pieces, equal ones together, the leading group first.
bool isOrderValid(const std::uint8_t *order, const tbMaterial &material)
{
    std::uint8_t counts[2][pieceTypeCount] = {};
    std::uint8_t runs[2][pieceTypeCount] = {};
    for (int i = 0; i < material.pieces; ++i)
    {
        const int type = typeOfCode(order[i]), side = (order[i] & secondSideFlag) != 0 ? 1 : 0;
        if (type < pawn || type > king)
            return false;
        ++counts[side][type];
        if ((i == 0 || order[i] != order[i - 1]) && ++runs[side][type] > 1)
            return false;
    }
    for (int side = 0; side < 2; ++side)
        if (!std::equal(counts[side], counts[side] + pieceTypeCount, material.counts[side]))
            return false;
    if (material.hasPawns)
        return order[0] == material.leadingPawn &&
               (material.pawnCounts[1] == 0 || typeOfCode(order[material.pawnCounts[0]]) == pawn);
    if (material.kkEncoding)
        return typeOfCode(order[0]) == king && typeOfCode(order[1]) == king;
    // The leading group is three different single pieces.
    for (int i = 0; i < 3; ++i)
        if (counts[(order[i] & secondSideFlag) != 0 ? 1 : 0][typeOfCode(order[i])] != 1)
            return false;
    return true;
}

bool readPieceOrders(mappedTablebase &table, const tbMaterial &material, byteCursor &file, int files)
{
    const leadingGroup lead = material.hasPawns     ? leadingGroup::pawns
                              : material.kkEncoding ? leadingGroup::kingPair
                                                    : leadingGroup::threePieces;
    for (int leadFile = 0; leadFile < files; ++leadFile)
    {
        const int orders = file.takeByte();
        const int secondOrders = material.pawnCounts[1] > 0 ? file.takeByte() : noOrder;
        const std::uint8_t *codes = file.take(material.pieces);
        if (codes == nullptr)
            return false;
        for (int side = 0; side < table.sides; ++side)
        {
            subTable &sub = table.subTables[side][leadFile];
            const int shift = 4 * side;
            for (int i = 0; i < material.pieces; ++i)
                sub.order[i] = static_cast<std::uint8_t>((codes[i] >> shift) & 0xF);
            if (!isOrderValid(sub.order, material) ||
                !makeIndexLayout(sub.layout, lead, sub.order, material.pieces, material.pawnCounts, leadFile,
                                 (orders >> shift) & 0xF, (secondOrders >> shift) & 0xF))
                return false;
        }
    }
    file.alignTo(2);
    return true;
}

bool readMaps(mappedTablebase &table, byteCursor &file, int files)
{
    for (int leadFile = 0; leadFile < files; ++leadFile)
    {
        subTable &sub = table.subTables[0][leadFile];
        if (!(sub.codec.flags & dtzMappedFlag))
            continue;
        const bool wide = (sub.codec.flags & dtzWideMapFlag) != 0;
        const unsigned width = wide ? 2 : 1;
        if (wide)
            file.alignTo(2);
        for (int map = 0; map < dtzMapCount; ++map)
        {
            const std::uint8_t *count = file.take(width);
            if (count == nullptr)
                return false;
            sub.mapCounts[map] = wide ? readLittle<std::uint16_t>(count) : *count;
            sub.maps[map] = file.take(std::uint64_t{width} * sub.mapCounts[map]);
        }
    }
    file.alignTo(2);
    return !file.failed;
}

template <typename F> void forEachCodec(mappedTablebase &table, int files, F &&use)
{
    for (int leadFile = 0; leadFile < files; ++leadFile)
        for (int side = 0; side < table.sides; ++side)
            use(table.subTables[side][leadFile].codec);
}

/// Sets the codecs' pointers to their sections. 16 bytes must follow the data, because the decoder reads
/// ahead.
bool placeSections(mappedTablebase &table, byteCursor &file, int files)
{
    forEachCodec(table, files,
                 [&](blockCodec &codec) { codec.sparseIndex = file.take(sparseEntryBytes * codec.spanCount); });
    forEachCodec(table, files, [&](blockCodec &codec) { codec.blockLengths = file.take(2 * codec.lengthCount); });
    forEachCodec(table, files,
                 [&](blockCodec &codec)
                 {
                     if (codec.indexBits == 0)
                         return;
                     file.alignTo(dataAlignment);
                     codec.data = file.take(std::uint64_t{codec.blockCount} << codec.blockSizeBits);
                 });
    return file.take(tbSizeRest) != nullptr;
}

/// A stored distance in plies, or `corruptValue`.
int distanceOf(const subTable &sub, int stored, int wdl)
{
    const int flags = sub.codec.flags;
    int plies = stored;
    if (flags & dtzMappedFlag)
    {
        const int map = mapOfWdl[wdl - lossValue];
        if (stored >= sub.mapCounts[map])
            return corruptValue;
        plies = flags & dtzWideMapFlag ? readLittle<std::uint16_t>(sub.maps[map] + 2 * stored) : sub.maps[map][stored];
    }
    const bool inPlies = (flags & pliesFlagOfWdl[wdl - lossValue]) != 0;
    return inPlies ? plies : 2 * plies;
}

/// Writes the squares of the pieces in [first, last) of the order, with colours and ranks flipped if `flip`.
/// False if the position lacks one of them.
bool collectSquares(const tbPosition &position, const std::uint8_t *order, int first, int last, bool flip, int *squares)
{
    bitboard pieces = 0;
    for (int i = first; i < last; ++i)
    {
        if (i == first || order[i] != order[i - 1])
        {
            const bool second = (order[i] & secondSideFlag) != 0;
            pieces = position.*typeSets[typeOfCode(order[i])] & piecesOf(position, second != flip ? black : white);
        }
        if (pieces == 0)
            return false;
        squares[i] = popLowest(pieces) ^ (flip ? flipRanks : 0);
    }
    return true;
}

} // namespace

bool readTbFile(mappedTablebase &table, const tbMaterial &material, tbKind kind, const std::uint8_t *data,
                std::size_t size)
{
    if (!isTbFileSize(size) || readLittle<std::uint32_t>(data) != tbMagics[kind])
        return false;
    byteCursor file{data, size, flagsOffset};
    const int flags = file.takeByte();
    table.sides = kind == wdlKind && (flags & bothSidesFlag) ? 2 : 1;
    if (((flags & pawnsFlag) != 0) != material.hasPawns || (kind == wdlKind && !material.symmetric && table.sides != 2))
        return false;
    const int files = material.hasPawns ? leadFiles : 1;
    if (!readPieceOrders(table, material, file, files))
        return false;
    for (int leadFile = 0; leadFile < files; ++leadFile)
        for (int side = 0; side < table.sides; ++side)
        {
            subTable &sub = table.subTables[side][leadFile];
            if (!readCodecHeader(sub.codec, file, sub.layout.size))
                return false;
            // A constant is a WDL value; in a DTZ file it carries no distance.
            if (kind == dtzKind && sub.codec.indexBits == 0)
                sub.codec.constantValue = 0;
        }
    file.alignTo(2);
    if (kind == dtzKind && !readMaps(table, file, files))
        return false;
    return placeSections(table, file, files);
}

lookUp lookUpTb(const mappedTablebase &table, const tbMaterial &material, tbKind kind, const tbPosition &position,
                bool flip, int wdl, int &value)
{
    const int side = material.symmetric ? 0 : (sideToMove(position) == white) == flip ? 1 : 0;
    int squares[maxTbPieces];
    int placed = 0, leadFile = 0;
    if (material.hasPawns)
    {
        if (position.pawns & (rank1Bits | rank8Bits))
            return lookUp::notStored;
        // The leading pawns come first in every sub-table and select it.
        placed = material.pawnCounts[0];
        if (!collectSquares(position, table.subTables[0][0].order, 0, placed, flip, squares))
            return lookUp::notStored;
        leadFile = leadingPawnFile(squares, placed);
    }
    if (kind == dtzKind && !material.symmetric && (table.subTables[0][leadFile].codec.flags & dtzSideFlag) != side)
        return lookUp::otherSide;

    const subTable &sub = table.subTables[kind == dtzKind ? 0 : side][leadFile];
    if (!collectSquares(position, sub.order, placed, material.pieces, flip, squares))
        return lookUp::notStored;
    const std::uint64_t index = positionIndex(sub.layout, squares, material.pieces);
    if (index >= sub.layout.size)
        return lookUp::notStored;
    const int stored = decodeIndex(sub.codec, index);
    if (stored == corruptValue)
        return lookUp::corrupt;
    if (kind == wdlKind)
    {
        value = (stored & 0xFF) + lossValue;
        return value < lossValue + wdlValues ? lookUp::found : lookUp::corrupt;
    }
    value = distanceOf(sub, stored, wdl);
    return value != corruptValue ? lookUp::found : lookUp::corrupt;
}

} // namespace tarvonel
