#include "eval/network.h"

#include <algorithm>
#include <cassert>

namespace tarvonel
{

namespace
{

using simd::vector16;

/// Capacity of a row list. A position has at most 32 pieces, so neither a refresh nor an update within
/// the budget of `findBase` needs more.
constexpr int maxRows = 2 * maxPiecesPerSide;

struct rowList
{
    const std::int16_t *row[maxRows];
    int count = 0;

    void append(const std::int16_t *weights)
    {
        assert(count < maxRows);
        row[count++] = weights;
    }
};

const std::int16_t *rowOf(colour view, int king, int piece, int square)
{
    return netWeights.featureWeight[featureIndex(view, king, piece, square)];
}

/// to = from - removed rows + added rows, in one pass over the lanes. For a few rows.
template <int Removed, int Added>
void applyFew(const std::int16_t *from, std::int16_t *to, const rowList &removed, const rowList &added)
{
    for (int lane = 0; lane < accumulatorLanes; lane += simd::lanes16)
    {
        vector16 sum = simd::load16(from + lane);
        for (int i = 0; i < Removed; ++i)
            sum = simd::subtract16(sum, simd::load16(removed.row[i] + lane));
        for (int i = 0; i < Added; ++i)
            sum = simd::add16(sum, simd::load16(added.row[i] + lane));
        simd::store16(to + lane, sum);
    }
}

/// The same for any number of rows, with a block of lanes in registers at a time.
void applyMany(const std::int16_t *from, std::int16_t *to, const rowList &removed, const rowList &added)
{
    constexpr int vectors = 8;
    for (int lane = 0; lane < accumulatorLanes; lane += vectors * simd::lanes16)
    {
        vector16 sum[vectors];
        for (int v = 0; v < vectors; ++v)
            sum[v] = simd::load16(from + lane + v * simd::lanes16);
        for (int i = 0; i < removed.count; ++i)
            for (int v = 0; v < vectors; ++v)
                sum[v] = simd::subtract16(sum[v], simd::load16(removed.row[i] + lane + v * simd::lanes16));
        for (int i = 0; i < added.count; ++i)
            for (int v = 0; v < vectors; ++v)
                sum[v] = simd::add16(sum[v], simd::load16(added.row[i] + lane + v * simd::lanes16));
        for (int v = 0; v < vectors; ++v)
            simd::store16(to + lane + v * simd::lanes16, sum[v]);
    }
}

void applyRows(const std::int16_t *from, std::int16_t *to, const rowList &removed, const rowList &added)
{
    if (removed.count == 1 && added.count == 1)
        applyFew<1, 1>(from, to, removed, added);
    else if (removed.count == 2 && added.count == 1)
        applyFew<2, 1>(from, to, removed, added);
    else if (removed.count == 2 && added.count == 2)
        applyFew<2, 2>(from, to, removed, added);
    else
        applyMany(from, to, removed, added);
}

void computeFromScratch(const pos &position, colour view, std::int16_t *accumulator)
{
    const int king = kingSquare(position, view);
    rowList removed;
    rowList added;
    for (bitboard pieces = occupancy(position); pieces != 0;)
    {
        const int square = popLowest(pieces);
        added.append(rowOf(view, king, position.board[square], square));
    }
    applyMany(netWeights.featureBias, accumulator, removed, added);
}

/// Updates the cache entry of this king square by the pieces that differ, and copies it.
void computeFromCache(const pos &position, colour view, std::int16_t *accumulator)
{
    const int king = kingSquare(position, view);
    accumulatorCacheEntry &entry = position.accumulatorCache[view * squareCount + king];
    if (entry.generation != netWeights.generation)
    {
        std::ranges::copy(netWeights.featureBias, entry.accumulator);
        std::ranges::fill(entry.pieces, bitboard{0});
        entry.generation = netWeights.generation;
    }
    rowList removed;
    rowList added;
    for (int piece = firstPieceCode; piece < pieceCodeCount; ++piece)
    {
        const bitboard now = position.bitboards[piece];
        for (bitboard removedPieces = entry.pieces[piece] & ~now; removedPieces != 0;)
            removed.append(rowOf(view, king, piece, popLowest(removedPieces)));
        for (bitboard addedPieces = now & ~entry.pieces[piece]; addedPieces != 0;)
            added.append(rowOf(view, king, piece, popLowest(addedPieces)));
        entry.pieces[piece] = now;
    }
    applyRows(entry.accumulator, entry.accumulator, removed, added);
    std::copy(std::begin(entry.accumulator), std::end(entry.accumulator), accumulator);
}

void refresh(pos &position, colour view, std::int16_t *accumulator)
{
    if (position.accumulatorCache != nullptr)
        computeFromCache(position, view, accumulator);
    else
        computeFromScratch(position, view, accumulator);
}

struct baseSearch
{
    int base;                    ///< an earlier ply with computed sums, or -1 for none
    bool kingMoved[colourCount]; ///< since the base, so that view needs a refresh
};

/// Finds the nearest computed ply. Gives up if both kings have moved, or if the changes cost more than a
/// refresh, whose cost is the number of pieces.
baseSearch findBase(const pos &position, int ply)
{
    baseSearch result = {-1, {false, false}};
    int budget = popCount(occupancy(position));
    for (int p = ply; p > 0; --p)
    {
        const pieceChange &change = position.pieceChanges[p];
        if (isKing(change.piece[0]))
            result.kingMoved[colourOf(change.piece[0])] = true;
        budget -= change.count + 1;
        if (budget <= 0 || (result.kingMoved[white] && result.kingMoved[black]))
            break;
        if (position.accumulatorBlocks[p - 1].computed)
        {
            result.base = p - 1;
            break;
        }
    }
    return result;
}

void computeFromBase(pos &position, int base, int ply, colour view)
{
    const int king = kingSquare(position, view);
    rowList removed;
    rowList added;
    for (int p = base + 1; p <= ply; ++p)
    {
        const pieceChange &change = position.pieceChanges[p];
        for (int i = 0; i < change.count; ++i)
        {
            if (change.from[i] != noSquare)
                removed.append(rowOf(view, king, change.piece[i], change.from[i]));
            if (change.to[i] != noSquare)
                added.append(rowOf(view, king, change.piece[i], change.to[i]));
        }
    }
    applyRows(position.accumulatorBlocks[base].accumulator[view], position.accumulatorBlocks[ply].accumulator[view],
              removed, added);
}

} // namespace

void updateAccumulators(pos &position, int ply)
{
    accumulatorBlock &block = position.accumulatorBlocks[ply];
    if (block.computed)
        return;
    const baseSearch start = findBase(position, ply);
    for (const colour view : {white, black})
    {
        if (start.base < 0 || start.kingMoved[view])
            refresh(position, view, block.accumulator[view]);
        else
            computeFromBase(position, start.base, ply, view);
    }
    block.computed = true;
}

} // namespace tarvonel
