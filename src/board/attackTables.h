// Attack and geometry tables, filled once by `initTables` and read-only afterwards, and the test
// whether a square is attacked.
//
// Sliders use magic bitboards: attacks = attackSlice[((occupancy & mask) x magic) >> shift]. Builds for
// processors that gather bits in one instruction number the occupancies by it instead.
#pragma once

#include <cstdint>

#include "board/bits.h"
#include "board/pos.h"

namespace tarvonel
{

struct magicEntry
{
    bitboard *attackSlice;
    bitboard mask; ///< squares whose occupancy matters
    std::uint64_t magic;
    std::uint64_t shift; ///< 64 minus the number of bits of `mask`
};

extern magicEntry rookMagics[squareCount];
extern magicEntry bishopMagics[squareCount];

extern bitboard rookRays[squareCount]; ///< attacks on an empty board
extern bitboard bishopRays[squareCount];
extern bitboard knightAttacks[squareCount];
extern bitboard kingAttacks[squareCount];
/// [c][s]: the squares from which a pawn of colour c attacks s; never the first or last rank.
extern bitboard pawnAttackers[colourCount][squareCount];
/// For a square on the fourth or fifth rank its neighbours on the rank, else empty.
extern bitboard epNeighbours[squareCount];
/// Squares strictly between two squares on one line, else empty.
extern bitboard between[squareCount][squareCount];
/// The whole line through two different squares, both included, else empty.
extern bitboard line[squareCount][squareCount];
extern std::uint8_t distance[squareCount][squareCount]; ///< in king steps
/// The rank of the square and all ranks ahead of it, for a colour.
extern bitboard ranksAhead[colourCount][squareCount];
extern bitboard adjacentFiles[squareCount];
/// Squares ahead on the own and the adjacent files; empty on the first and last rank.
extern bitboard passedMask[colourCount][squareCount];
/// Block of three files and four ranks around a king, held inside the board.
extern bitboard kingZone[colourCount][squareCount];

inline constexpr int reductionDepths = 128;
inline constexpr int reductionMoves = 256;
/// Late move reduction by depth and move number, before adjustments.
extern std::int8_t reductionTable[reductionDepths][reductionMoves];

/// Fills all tables; may be run again. Before any other thread starts.
void initTables();

/// Place of an occupancy in the square's slice.
inline std::uint64_t sliceIndex(const magicEntry &entry, bitboard occupied)
{
#ifdef __BMI2__
    return gatherBits(occupied, entry.mask);
#else
    return ((occupied & entry.mask) * entry.magic) >> entry.shift;
#endif
}

inline bitboard bishopAttacks(int square, bitboard occupied)
{
    const magicEntry &entry = bishopMagics[square];
    return entry.attackSlice[sliceIndex(entry, occupied)];
}

inline bitboard rookAttacks(int square, bitboard occupied)
{
    const magicEntry &entry = rookMagics[square];
    return entry.attackSlice[sliceIndex(entry, occupied)];
}

inline bitboard queenAttacks(int square, bitboard occupied)
{
    return bishopAttacks(square, occupied) | rookAttacks(square, occupied);
}

/// Sets of a colour's sliders, as most attack tests want them.
inline bitboard diagonalSliders(const pos &position, colour side)
{
    return position.bitboards[whiteQueen + side] | position.bitboards[whiteBishop + side];
}
inline bitboard straightSliders(const pos &position, colour side)
{
    return position.bitboards[whiteQueen + side] | position.bitboards[whiteRook + side];
}

/// Whether `attacker` attacks the square, with sliders seen through `occupied`.
inline bool isAttacked(const pos &position, int square, colour attacker, bitboard occupied)
{
    return (bishopAttacks(square, occupied) & diagonalSliders(position, attacker)) != 0 ||
           (rookAttacks(square, occupied) & straightSliders(position, attacker)) != 0 ||
           (pawnAttackers[attacker][square] & position.bitboards[whitePawn + attacker]) != 0 ||
           (knightAttacks[square] & position.bitboards[whiteKnight + attacker]) != 0 ||
           (kingAttacks[square] & position.bitboards[whiteKing + attacker]) != 0;
}

/// Whether the king of `side` is attacked in the position as it stands.
inline bool isKingAttacked(const pos &position, colour side)
{
    return isAttacked(position, kingSquare(position, side), opponent(side), occupancy(position));
}

} // namespace tarvonel
