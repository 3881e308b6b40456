#include "board/attackTables.h"

#include <algorithm>
#include <array>
#include <cstdlib>

namespace tarvonel
{

magicEntry rookMagics[squareCount];
magicEntry bishopMagics[squareCount];
bitboard rookRays[squareCount];
bitboard bishopRays[squareCount];
bitboard knightAttacks[squareCount];
bitboard kingAttacks[squareCount];
bitboard pawnAttackers[colourCount][squareCount];
bitboard epNeighbours[squareCount];
bitboard between[squareCount][squareCount];
bitboard line[squareCount][squareCount];
std::uint8_t distance[squareCount][squareCount];
bitboard ranksAhead[colourCount][squareCount];
bitboard adjacentFiles[squareCount];
bitboard passedMask[colourCount][squareCount];
bitboard kingZone[colourCount][squareCount];

namespace
{

constexpr int rookAttackCount = 102400; // sum over all squares of 2^(bits in the mask)
constexpr int bishopAttackCount = 5248;

bitboard rookAttackArray[rookAttackCount];
bitboard bishopAttackArray[bishopAttackCount];

using directionSet = std::array<int, 4>;
constexpr directionSet rookDirections = {8, 1, -1, -8};
constexpr directionSet bishopDirections = {9, 7, -7, -9};
constexpr std::array<int, 8> knightSteps = {17, 15, 10, 6, -6, -10, -15, -17};
constexpr std::array<int, 8> kingSteps = {9, 8, 7, 1, -1, -7, -8, -9};

int squareDistance(int a, int b) { return std::max(std::abs(fileOf(a) - fileOf(b)), std::abs(rankOf(a) - rankOf(b))); }

bool isOnBoard(int square) { return square >= 0 && square < squareCount; }

/// Targets of a leaper; `reach` excludes steps that wrap around the edge.
bitboard leaperAttacks(int square, const std::array<int, 8> &steps, int reach)
{
    bitboard targets = 0;
    for (const int step : steps)
    {
        const int target = square + step;
        if (isOnBoard(target) && squareDistance(square, target) <= reach)
            targets |= bit(target);
    }
    return targets;
}

/// Slider attacks by walking each ray up to and including the first occupied square.
bitboard walkRays(int square, const directionSet &directions, bitboard occupied)
{
    bitboard attacks = 0;
    for (const int step : directions)
    {
        int from = square;
        int to = from + step;
        while (isOnBoard(to) && squareDistance(from, to) == 1)
        {
            attacks |= bit(to);
            if ((occupied & bit(to)) != 0)
                break;
            from = to;
            to += step;
        }
    }
    return attacks;
}

/// The rays without their edge squares, where a blocker changes nothing.
bitboard relevantOccupancy(int square, const directionSet &directions)
{
    const bitboard edges =
        ((rank1Bits | rank8Bits) & ~rankBits(rankOf(square))) | ((fileABits | fileHBits) & ~fileBits(fileOf(square)));
    return walkRays(square, directions, 0) & ~edges;
}

// Magic multipliers, found by random search: no two occupancies with different attacks share a slot.
// clang-format off
constexpr std::uint64_t rookMultipliers[squareCount] = {
    0x808010E080014000, 0x014009500040A000, 0x2880200008500082, 0x8200104008620004,
    0x0600104804202200, 0xC300110004000208, 0x1400040201009028, 0x0080012845000280,
    0x8100800320804004, 0x0225004000210280, 0x0101001020004506, 0x0720800800500080,
    0x8601000800104500, 0x0022001024120108, 0x00060008A4020021, 0x0804801144800100,
    0x8040008000A08450, 0x0050084004412008, 0x8001010020061041, 0x0410008012805800,
    0x000A020020300884, 0x3A00818002000400, 0x0040140008102211, 0x0204320000440081,
    0x10400A8080002840, 0xA802C00080802000, 0x0220008080100A21, 0x0210100100210089,
    0xC004680080800400, 0x9402008080028400, 0x0004080400102245, 0x0408108200040049,
    0x8013204001800080, 0x0001201002400642, 0x1490A00080801000, 0x1049080080805000,
    0x4021808800801400, 0x3110120080800400, 0x2000010824008A10, 0x0804801144800100,
    0x4A20802040018000, 0x8020100420414002, 0xA400102005010040, 0x0121100101210008,
    0x1540080005010010, 0x4000401060480104, 0x00060008A4020021, 0x10010080410A0014,
    0x2020800220410900, 0x0002A000C0128080, 0x0002008320405200, 0x0720800800500080,
    0x020004280100D100, 0x4112000890040200, 0x0040221015080400, 0x0080010164008A00,
    0x0400130080084021, 0x0000408102012212, 0x0050410010200209, 0x00000814A1003001,
    0x0106001004200822, 0x0101003802040009, 0x1020010820821004, 0x002100020028C081,
};
constexpr std::uint64_t bishopMultipliers[squareCount] = {
    0x0008010108260082, 0x0404840404003040, 0x008C440C00400001, 0x040C04008A040080,
    0x0022021011204200, 0x0002080E09000402, 0x0010581210100800, 0x0001022210042402,
    0x2003404802008200, 0x0520020288010100, 0x0014040802004406, 0x0007040420840008,
    0x0081820210C00001, 0x0080050138420000, 0x0824240108080400, 0x0200070108028200,
    0x00200019200400C2, 0x0028001032008408, 0x0440400801504080, 0x228200040A120000,
    0x000E0004020A4800, 0x0401800108094001, 0x0000800518051100, 0x0102002081412800,
    0x0028042008A00804, 0x0004040050510820, 0x08020801210800A0, 0x2140808008020202,
    0x00A0848014002008, 0x0006088000B01004, 0x2002C40001110800, 0x0102002081412800,
    0x040402084C401000, 0x1188020200101400, 0x1002010401404140, 0x2003404802008200,
    0x1001840240140100, 0x0001101102108041, 0x4408010400104220, 0x000810A100102300,
    0x000C101211000808, 0x0010581210100800, 0x002084004801010A, 0x0105202031000800,
    0x0800012011009202, 0x00C0880081003020, 0x0404840404003040, 0x008802008A0800A0,
    0x0010581210100800, 0x0824240108080400, 0x10000046081100A0, 0x00405140420A0000,
    0x1800804405040080, 0x0008042048024300, 0x0511200800808040, 0x0404840404003040,
    0x0001022210042402, 0x0200070108028200, 0x21A000010C010400, 0x0002840000A09810,
    0x2800140010202A00, 0x0040004282040B00, 0x2003404802008200, 0x0008010108260082,
};
// clang-format on

/// Fills the slice of each square, one after the other, for all occupancies of its mask.
void fillMagics(magicEntry (&entries)[squareCount], bitboard *attackArray, const directionSet &directions,
                const std::uint64_t (&multipliers)[squareCount])
{
    bitboard *slice = attackArray;
    for (int square = 0; square < squareCount; ++square)
    {
        magicEntry &entry = entries[square];
        const bitboard mask = relevantOccupancy(square, directions);
        entry = {slice, mask, multipliers[square], static_cast<std::uint64_t>(64 - popCount(mask))};
        bitboard subset = 0;
        do
        {
            slice[sliceIndex(entry, subset)] = walkRays(square, directions, subset);
            subset = (subset - mask) & mask; // Carry-Rippler: the next subset of the mask
        } while (subset != 0);
        slice += bitboard{1} << popCount(mask);
    }
}

void fillLeapers()
{
    for (int square = 0; square < squareCount; ++square)
    {
        knightAttacks[square] = leaperAttacks(square, knightSteps, 2);
        kingAttacks[square] = leaperAttacks(square, kingSteps, 1);

        const bitboard neighbours = kingAttacks[square] & rankBits(rankOf(square));
        epNeighbours[square] = rankOf(square) == rank4 || rankOf(square) == rank5 ? neighbours : 0;

        const bitboard pawnRanks = ~(rank1Bits | rank8Bits);
        pawnAttackers[white][square] = pawnAttackSet<black>(bit(square)) & pawnRanks;
        pawnAttackers[black][square] = pawnAttackSet<white>(bit(square)) & pawnRanks;
    }
}

void fillSliders()
{
    for (int square = 0; square < squareCount; ++square)
    {
        rookRays[square] = walkRays(square, rookDirections, 0);
        bishopRays[square] = walkRays(square, bishopDirections, 0);
    }
    fillMagics(rookMagics, rookAttackArray, rookDirections, rookMultipliers);
    fillMagics(bishopMagics, bishopAttackArray, bishopDirections, bishopMultipliers);
}

void fillLines()
{
    for (int from = 0; from < squareCount; ++from)
        for (int to = 0; to < squareCount; ++to)
        {
            bitboard strictlyBetween = 0;
            bitboard whole = 0;
            if ((rookRays[from] & bit(to)) != 0)
            {
                strictlyBetween = rookAttacks(to, bit(from)) & rookAttacks(from, bit(to));
                whole = (rookRays[from] & rookRays[to]) | bit(from) | bit(to);
            }
            else if ((bishopRays[from] & bit(to)) != 0)
            {
                strictlyBetween = bishopAttacks(to, bit(from)) & bishopAttacks(from, bit(to));
                whole = (bishopRays[from] & bishopRays[to]) | bit(from) | bit(to);
            }
            between[from][to] = strictlyBetween;
            line[from][to] = whole;
            distance[from][to] = static_cast<std::uint8_t>(squareDistance(from, to));
        }
}

bitboard zoneAround(colour side, int square)
{
    constexpr bitboard blockOfCorner = 0x07070707;
    const int file = std::clamp(fileOf(square), 1, 6);
    const int lowestRank = side == white ? std::clamp(rankOf(square), 1, 5) - 1 : std::clamp(rankOf(square), 2, 6) - 2;
    return blockOfCorner << squareAt(file - 1, lowestRank);
}

void fillEvaluationMasks()
{
    for (int square = 0; square < squareCount; ++square)
    {
        const int file = fileOf(square);
        const int rank = rankOf(square);
        adjacentFiles[square] = (file > fileA ? fileBits(file - 1) : 0) | (file < fileH ? fileBits(file + 1) : 0);
        ranksAhead[white][square] = ~bitboard{0} << (8 * rank);
        ranksAhead[black][square] = ~bitboard{0} >> (8 * (rank8 - rank));

        const bitboard threeFiles = adjacentFiles[square] | fileBits(file);
        const bool isInside = rank != rank1 && rank != rank8;
        for (const colour side : {white, black})
        {
            passedMask[side][square] = isInside ? ranksAhead[side][square] & ~rankBits(rank) & threeFiles : 0;
            kingZone[side][square] = zoneAround(side, square);
        }
    }
}

} // namespace

void initTables()
{
    fillLeapers();
    fillSliders();
    fillLines();
    fillEvaluationMasks();
}

} // namespace tarvonel
