#include "tablebase/tbIndex.h"

#include <array>
#include <utility>

namespace tarvonel
{

namespace
{

constexpr int mirrorFiles = 7; ///< XOR that mirrors the files
constexpr int pawnSquares = 48;
constexpr int ranksOfPawns = 6;
constexpr int maxGroup = 6;
constexpr int kingPairs = 462;
constexpr int triangleSquares = 6; ///< b1, c1, d1, c2, d2, d3
constexpr int cornerDiagonal = 4;  ///< a1 to d4
constexpr int lowerSquares = 28;   ///< below the long diagonal
// Placements of three pieces, by the first piece that is off the diagonal.
constexpr int firstOff = triangleSquares * 63 * 62;
constexpr int secondOff = cornerDiagonal * lowerSquares * 62;
constexpr int thirdOff = cornerDiagonal * 7 * lowerSquares;
constexpr int noneOff = cornerDiagonal * 7 * 6;
constexpr int triples = firstOff + secondOff + thirdOff + noneOff;
static_assert(triples == 31332);

/// Positive above the diagonal a1 to h8, negative below it.
constexpr int offDiagonal(int square) { return rankOf(square) - fileOf(square); }
constexpr int transposed(int square) { return ((square >> 3) | (square << 3)) & 63; }

/// [k][n]: ways to choose k of n.
constexpr auto binomial = []
{
    std::array<std::array<std::uint64_t, squareCount + 1>, maxGroup + 1> table{};
    for (int n = 0; n <= squareCount; ++n)
    {
        table[0][n] = 1;
        for (int k = 1; k <= maxGroup && n > 0; ++k)
            table[k][n] = table[k - 1][n - 1] + table[k][n - 1];
    }
    return table;
}();

/// Numbers the squares below the long diagonal, from b1 rank by rank.
constexpr auto lowerNumber = []
{
    std::array<std::uint8_t, squareCount> table{};
    std::uint8_t next = 0;
    for (int square = 0; square < squareCount; ++square)
        if (offDiagonal(square) < 0)
            table[square] = next++;
    return table;
}();

/// Numbers the triangle a1, d1, d4: first the squares below the diagonal rank by rank, then the diagonal.
constexpr auto triangleNumber = []
{
    std::array<std::uint8_t, squareCount> table{};
    std::uint8_t next = 0;
    for (int rank = rank1; rank <= rank4; ++rank)
        for (int file = rank + 1; file <= fileD; ++file)
            table[squareAt(file, rank)] = next++;
    for (int i = 0; i < cornerDiagonal; ++i)
        table[squareAt(i, i)] = next++;
    return table;
}();

/// [triangle number of the first king][second king]. Pairs with both kings on the diagonal come last;
/// if the first king is on the diagonal, the second one is on or below it. Impossible pairs have 0.
constexpr auto kingPairNumber = []
{
    std::array<std::array<std::uint16_t, squareCount>, triangleSquares + cornerDiagonal> table{};
    std::uint16_t next = 0;
    for (int pass = 0; pass < 2; ++pass) // 1: both on the diagonal
        for (int number = 0; number < triangleSquares + cornerDiagonal; ++number)
        {
            int first = 0;
            while (rankOf(first) > rank4 || fileOf(first) > fileD || offDiagonal(first) > 0 ||
                   triangleNumber[first] != number)
                ++first;
            for (int second = 0; second < squareCount; ++second)
            {
                const int files = fileOf(first) - fileOf(second), ranks = rankOf(first) - rankOf(second);
                const bool adjacent = files >= -1 && files <= 1 && ranks >= -1 && ranks <= 1;
                const bool excluded = offDiagonal(first) == 0 && offDiagonal(second) > 0;
                const bool last = offDiagonal(first) == 0 && offDiagonal(second) == 0;
                if (!adjacent && !excluded && last == (pass == 1))
                    table[number][second] = next++;
            }
        }
    return table;
}();
static_assert(kingPairNumber[triangleSquares + 2][h8] < kingPairs);
static_assert(kingPairNumber[triangleSquares + 3][h8] == kingPairs - 1);

/// Numbers the pawn squares: a2 47, h2 46, a3 45, ... d7 1, e7 0. The highest one is the leading pawn.
constexpr auto pawnOrder = []
{
    std::array<std::uint8_t, squareCount> table{};
    for (int square = a2; square <= h7; ++square)
    {
        const int file = fileOf(square), edge = file <= fileD ? file : mirrorFiles - file;
        table[square] = static_cast<std::uint8_t>(pawnSquares - 1 - 2 * ranksOfPawns * edge -
                                                  2 * (rankOf(square) - rank2) - (file > fileD ? 1 : 0));
    }
    return table;
}();

/// [number of other leading pawns][file][rank - 1]: placements before those with the leading pawn on
/// that square, counted within its file. The last element is the total of the file.
constexpr auto leadPawnBase = []
{
    std::array<std::array<std::array<std::uint64_t, ranksOfPawns + 1>, leadFiles>, maxGroup> table{};
    for (int others = 0; others < maxGroup; ++others)
        for (int file = 0; file < leadFiles; ++file)
            for (int i = 0; i < ranksOfPawns; ++i)
                table[others][file][i + 1] =
                    table[others][file][i] + binomial[others][pawnOrder[squareAt(file, rank2 + i)]];
    return table;
}();

/// The number of the combination `group` of the squares from `lowest` on that are not yet `placed`.
std::uint64_t combination(bitboard group, bitboard placed, int lowest)
{
    std::uint64_t number = 0;
    for (int i = 1; group != 0; ++i)
    {
        const int square = popLowest(group);
        const int below = popCount(placed & (bit(square) - 1));
        number += binomial[i][square - below - lowest];
    }
    return number;
}

void xorAll(int *squares, int pieceCount, int mask)
{
    for (int i = 0; i < pieceCount; ++i)
        squares[i] ^= mask;
}

/// Mirrors the board so that the first piece is in the triangle a1, d1, d4, and the first piece of the
/// leading group that is off the diagonal is below it.
void mirrorIntoTriangle(int *squares, int pieceCount, int leadSize)
{
    if (fileOf(squares[0]) > fileD)
        xorAll(squares, pieceCount, mirrorFiles);
    if (rankOf(squares[0]) > rank4)
        xorAll(squares, pieceCount, flipRanks);
    for (int i = 0; i < leadSize; ++i)
    {
        const int off = offDiagonal(squares[i]);
        if (off > 0)
            for (int j = 0; j < pieceCount; ++j)
                squares[j] = transposed(squares[j]);
        if (off != 0)
            break;
    }
}

int tripleNumber(const int *squares)
{
    const int first = squares[0], second = squares[1], third = squares[2];
    const int secondBelow = second > first ? 1 : 0;
    const int thirdBelow = (third > first ? 1 : 0) + (third > second ? 1 : 0);
    if (offDiagonal(first) != 0)
        return (triangleNumber[first] * 63 + second - secondBelow) * 62 + third - thirdBelow;
    const int corner = rankOf(first);
    if (offDiagonal(second) != 0)
        return firstOff + (corner * lowerSquares + lowerNumber[second]) * 62 + third - thirdBelow;
    const int secondDiagonal = rankOf(second) - secondBelow;
    if (offDiagonal(third) != 0)
        return firstOff + secondOff + (corner * 7 + secondDiagonal) * lowerSquares + lowerNumber[third];
    return firstOff + secondOff + thirdOff + (corner * 7 + secondDiagonal) * 6 + rankOf(third) - thirdBelow;
}

/// The placement number of the leading pawns; the first one leads and is on one of the files a to d.
std::uint64_t leadingPawnsNumber(const int *squares, int pawnCount)
{
    bitboard others = 0; // by pawn order
    for (int i = 1; i < pawnCount; ++i)
        others |= bit(pawnOrder[squares[i]]);
    std::uint64_t number = leadPawnBase[pawnCount - 1][fileOf(squares[0])][rankOf(squares[0]) - rank2];
    for (int i = 1; others != 0; ++i)
        number += binomial[i][popLowest(others)];
    return number;
}

} // namespace

int leadingPawnFile(int *squares, int pawnCount)
{
    for (int i = 1; i < pawnCount; ++i)
        if (pawnOrder[squares[i]] > pawnOrder[squares[0]])
            std::swap(squares[0], squares[i]);
    const int file = fileOf(squares[0]);
    return file <= fileD ? file : mirrorFiles - file;
}

bool makeIndexLayout(indexLayout &layout, leadingGroup lead, const std::uint8_t *pieces, int pieceCount,
                     const std::uint8_t pawnCounts[2], int file, int order, int secondOrder)
{
    const bool pawns = lead == leadingGroup::pawns;
    layout = {};
    layout.lead = lead;
    layout.secondPawns = pawns && pawnCounts[1] > 0;
    int placed = pawns ? pawnCounts[0] : lead == leadingGroup::kingPair ? 2 : 3;
    layout.groupSize[layout.groupCount++] = static_cast<std::uint8_t>(placed);
    while (placed < pieceCount)
    {
        int run = 1;
        while (placed + run < pieceCount && pieces[placed + run] == pieces[placed])
            ++run;
        layout.groupSize[layout.groupCount++] = static_cast<std::uint8_t>(run);
        placed += run;
    }

    const int firstPieceGroup = layout.secondPawns ? 2 : 1;
    if (order >= layout.groupCount ||
        (layout.secondPawns && (secondOrder >= layout.groupCount || secondOrder == order)))
        return false;
    int freeSquares = squareCount - layout.groupSize[0] - (layout.secondPawns ? layout.groupSize[1] : 0);
    int nextGroup = firstPieceGroup;
    std::uint64_t product = 1;
    for (int place = 0; place < layout.groupCount; ++place)
    {
        if (place == order)
        {
            layout.factor[0] = product;
            product *= pawns ? leadPawnBase[pawnCounts[0] - 1][file][ranksOfPawns]
                             : static_cast<std::uint64_t>(lead == leadingGroup::kingPair ? kingPairs : triples);
        }
        else if (layout.secondPawns && place == secondOrder)
        {
            layout.factor[1] = product;
            product *= binomial[pawnCounts[1]][pawnSquares - pawnCounts[0]];
        }
        else
        {
            const int size = layout.groupSize[nextGroup];
            layout.factor[nextGroup++] = product;
            product *= binomial[size][freeSquares];
            freeSquares -= size;
        }
    }
    layout.size = product;
    return true;
}

std::uint64_t positionIndex(const indexLayout &layout, int *squares, int pieceCount)
{
    const int leadSize = layout.groupSize[0];
    std::uint64_t number = 0;
    if (layout.lead == leadingGroup::pawns)
    {
        if (fileOf(squares[0]) > fileD)
            xorAll(squares, pieceCount, mirrorFiles);
        number = leadingPawnsNumber(squares, leadSize);
    }
    else
    {
        mirrorIntoTriangle(squares, pieceCount, leadSize);
        number = layout.lead == leadingGroup::kingPair ? kingPairNumber[triangleNumber[squares[0]]][squares[1]]
                                                       : static_cast<std::uint64_t>(tripleNumber(squares));
    }

    std::uint64_t index = number * layout.factor[0];
    bitboard placed = 0;
    int next = 0;
    for (int group = 0; group < layout.groupCount; ++group)
    {
        bitboard pieces = 0;
        for (int i = 0; i < layout.groupSize[group]; ++i)
            pieces |= bit(squares[next++]);
        if (group > 0)
            index += layout.factor[group] * combination(pieces, placed, layout.secondPawns && group == 1 ? a2 : a1);
        placed |= pieces;
    }
    return index;
}

} // namespace tarvonel
