#include "board/attackTables.h"

#include <algorithm>
#include <array>
#include <cmath>
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
std::int8_t reductionTable[reductionDepths][reductionMoves];

namespace
{

constexpr int rookAttackCount = 102400; // sum over all squares of 2 to the number of mask bits
constexpr int bishopAttackCount = 5248;
constexpr int maxSubsets = 4096;

bitboard rookAttackArray[rookAttackCount];
bitboard bishopAttackArray[bishopAttackCount];

using directionSet = std::array<int, 4>;
constexpr directionSet rookDirections = {8, 1, -1, -8};
constexpr directionSet bishopDirections = {9, 7, -7, -9};
constexpr std::array<int, 8> knightSteps = {17, 15, 10, 6, -6, -10, -15, -17};
constexpr std::array<int, 8> kingSteps = {9, 8, 7, 1, -1, -7, -8, -9};

int squareDistance(int a, int b) { return std::max(std::abs(fileOf(a) - fileOf(b)), std::abs(rankOf(a) - rankOf(b))); }

bool isOnBoard(int square) { return square >= 0 && square < squareCount; }

/// Targets of a leaper: steps that stay on the board and do not wrap around its edge.
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

/// Attacks of a slider by walking its four rays up to and including the first occupied square.
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

/// The rays without the last square of each, where a blocker changes nothing.
bitboard relevantOccupancy(int square, const directionSet &directions)
{
    bitboard mask = 0;
    for (const int step : directions)
    {
        int from = square;
        int to = from + step;
        while (isOnBoard(to + step) && squareDistance(from, to) == 1 && squareDistance(to, to + step) == 1)
        {
            mask |= bit(to);
            from = to;
            to += step;
        }
    }
    return mask;
}

// Where the drawing of candidates starts, by square: found beforehand so that one of the first few
// candidates fits. Any others would do, after a longer search.
// clang-format off
constexpr std::uint32_t rookSeeds[squareCount] = {
    2293, 6591, 27159, 16614, 2234, 2284, 1272, 3913,
    2629, 1363, 1736, 1415, 14987, 1713, 205, 57,
    210, 2443, 2471, 1087, 695, 3683, 2925, 2451,
    1352, 26, 263, 7257, 6024, 5672, 2769, 2962,
    2271, 2676, 2717, 545, 4001, 6713, 2273, 57,
    3630, 3661, 1817, 2308, 2533, 20469, 205, 4458,
    1303, 1405, 2605, 1415, 5969, 722, 2925, 317,
    440, 3765, 2859, 6220, 3225, 1666, 1720, 2012,
};
constexpr std::uint32_t bishopSeeds[squareCount] = {
    1086, 371, 587, 2264, 133, 1055, 406, 1738,
    1019, 140, 97, 626, 432, 1691, 680, 60,
    1676, 1702, 1363, 763, 1564, 591, 898, 485,
    39, 152, 2159, 3245, 129, 720, 308, 485,
    702, 2775, 2395, 1019, 4558, 409, 50, 2199,
    1949, 406, 401, 418, 593, 2200, 371, 2107,
    406, 680, 340, 623, 294, 648, 2739, 371,
    1738, 60, 1383, 550, 132, 436, 1019, 1086,
};
// clang-format on

/// Draws sparse multipliers, which are the ones that tend to work.
struct candidateSource
{
    static constexpr int bitsPerCandidate = 9;
    std::uint32_t state;

    int nextSquare()
    {
        state = state * 214013 + 2531011;
        return static_cast<int>(state >> 16 & 63);
    }

    std::uint64_t next()
    {
        std::uint64_t candidate = 0;
        while (popCount(candidate) < bitsPerCandidate)
            candidate |= bit(nextSquare());
        return candidate;
    }
};

/// Finds a multiplier for each square by trial. A slot counts as written if its mark bears the
/// number of the present attempt, so no slice is cleared between attempts.
class magicFinder
{
  public:
    void fill(magicEntry (&entries)[squareCount], bitboard *attackArray, const directionSet &directions,
              const std::uint32_t (&seeds)[squareCount])
    {
        bitboard *slice = attackArray;
        for (int square = 0; square < squareCount; ++square)
        {
            magicEntry &entry = entries[square];
            entry.attackSlice = slice;
            entry.mask = relevantOccupancy(square, directions);
            entry.shift = static_cast<std::uint64_t>(64 - popCount(entry.mask));
            listSubsets(square, entry.mask, directions);
            candidateSource candidates{seeds[square]};
            do
                entry.magic = candidates.next();
            while (!tryCandidate(entry));
            slice += subsetCount;
        }
    }

  private:
    /// All subsets of the mask by the carry-rippler walk, with the attacks through each.
    void listSubsets(int square, bitboard mask, const directionSet &directions)
    {
        subsetCount = 0;
        bitboard subset = 0;
        do
        {
            subsets[subsetCount] = subset;
            attacks[subsetCount] = walkRays(square, directions, subset);
            ++subsetCount;
            subset = (subset - mask) & mask;
        } while (subset != 0);
    }

    bool tryCandidate(const magicEntry &entry)
    {
        ++attempt;
        for (int i = 0; i < subsetCount; ++i)
        {
            const std::uint64_t index = (subsets[i] * entry.magic) >> entry.shift;
            if (marks[index] != attempt)
            {
                marks[index] = attempt;
                entry.attackSlice[index] = attacks[i];
            }
            else if (entry.attackSlice[index] != attacks[i])
                return false;
        }
        return true;
    }

    int attempt = 0;
    int subsetCount = 0;
    std::array<int, maxSubsets> marks{};
    std::array<bitboard, maxSubsets> subsets{};
    std::array<bitboard, maxSubsets> attacks{};
};

/// Grows with the square root of depth times move number; the first two moves are not reduced.
void fillReductions()
{
    constexpr int fullDepthMoves = 2;
    constexpr int divisor = 9;
    for (int depth = 0; depth < reductionDepths; ++depth)
        for (int move = 0; move < reductionMoves; ++move)
        {
            int reduction = 0;
            if (move == fullDepthMoves + 1)
                reduction = 1;
            else if (move > fullDepthMoves + 1)
                reduction = static_cast<int>(std::sqrt((move - fullDepthMoves) * depth / divisor));
            reductionTable[depth][move] = static_cast<std::int8_t>(reduction);
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
    magicFinder finder;
    finder.fill(rookMagics, rookAttackArray, rookDirections, rookSeeds);
    finder.fill(bishopMagics, bishopAttackArray, bishopDirections, bishopSeeds);
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

/// Three files wide and four ranks high, around the king and one rank more ahead of it.
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
    fillReductions();
    fillLeapers();
    fillSliders();
    fillLines();
    fillEvaluationMasks();
}

} // namespace tarvonel
