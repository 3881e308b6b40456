// Attack and geometry tables, and the attack queries built on them.
//
// Sliders use magic bitboards: attacks = attackSlice[((occupancy & mask) x magic) >> shift]. Builds
// for processors with BMI2 index with PEXT instead.
//
// Threads: `initTables` fills the tables once; afterwards they are read-only.
#pragma once

#include <cstdint>

#include "board/bits.h"
#include "board/pos.h"

namespace tarvonel
{

struct magicEntry
{
    bitboard *attackSlice;
    bitboard mask; ///< relevant occupancy
    std::uint64_t magic;
    std::uint64_t shift; ///< 64 minus the number of bits of `mask`
};

extern magicEntry rookMagics[squareCount];
extern magicEntry bishopMagics[squareCount];

extern bitboard rookRays[squareCount]; ///< attacks on an empty board
extern bitboard bishopRays[squareCount];
extern bitboard knightAttacks[squareCount];
extern bitboard kingAttacks[squareCount];
/// [c][s]: squares from which a pawn of colour c attacks s, first and last rank left out.
extern bitboard pawnAttackers[colourCount][squareCount];
/// The squares to the left and right of a square on the fourth or fifth rank, else empty.
extern bitboard epNeighbours[squareCount];
/// Squares strictly between two squares that share a line, else empty.
extern bitboard between[squareCount][squareCount];
/// The whole line through two different squares, else empty.
extern bitboard line[squareCount][squareCount];
extern std::uint8_t distance[squareCount][squareCount]; ///< in king steps
/// The square's rank and all ranks ahead of it.
extern bitboard ranksAhead[colourCount][squareCount];
extern bitboard adjacentFiles[squareCount];
/// Squares ahead on the same and adjacent files; empty on the first and last rank.
extern bitboard passedMask[colourCount][squareCount];
/// Three files by four ranks around a king, with one extra rank ahead, shifted to stay on the board.
extern bitboard kingZone[colourCount][squareCount];

/// Fills all tables. Call before other threads start; calling again is harmless.
void initTables();

/// Index of an occupancy in the square's slice.
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

/// Attacks of a piece other than a pawn.
inline bitboard pieceAttacks(int type, int square, bitboard occupied)
{
    switch (type)
    {
    case knight:
        return knightAttacks[square];
    case bishop:
        return bishopAttacks(square, occupied);
    case rook:
        return rookAttacks(square, occupied);
    case queen:
        return queenAttacks(square, occupied);
    default:
        return kingAttacks[square];
    }
}

inline bitboard diagonalSliders(const pos &position, colour side)
{
    return position.bitboards[whiteQueen + side] | position.bitboards[whiteBishop + side];
}
inline bitboard straightSliders(const pos &position, colour side)
{
    return position.bitboards[whiteQueen + side] | position.bitboards[whiteRook + side];
}

/// The pieces of either colour that are the only piece between the square and a slider of `attacker`. If
/// a king is on the square, those of its colour are pinned and those of `attacker` can discover check.
inline bitboard sliderBlockers(const pos &position, int square, colour attacker)
{
    const bitboard occupied = occupancy(position);
    bitboard sliders = (bishopRays[square] & diagonalSliders(position, attacker)) |
                       (rookRays[square] & straightSliders(position, attacker));
    bitboard blockers = 0;
    while (sliders != 0)
    {
        const bitboard inBetween = between[square][popLowest(sliders)] & occupied;
        if (!moreThanOne(inBetween))
            blockers |= inBetween;
    }
    return blockers;
}

/// Whether `attacker` attacks the square, given the occupancy for its sliders.
[[gnu::always_inline]] inline bool isAttacked(const pos &position, int square, colour attacker, bitboard occupied)
{
    return (bishopAttacks(square, occupied) & diagonalSliders(position, attacker)) != 0 ||
           (rookAttacks(square, occupied) & straightSliders(position, attacker)) != 0 ||
           (pawnAttackers[attacker][square] & position.bitboards[whitePawn + attacker]) != 0 ||
           (knightAttacks[square] & position.bitboards[whiteKnight + attacker]) != 0 ||
           (kingAttacks[square] & position.bitboards[whiteKing + attacker]) != 0;
}

/// Whether the king of `side` is in check.
inline bool isKingAttacked(const pos &position, colour side)
{
    return isAttacked(position, kingSquare(position, side), opponent(side), occupancy(position));
}

} // namespace tarvonel
