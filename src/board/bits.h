// Bitboards: 64 bits, bit n for square n; counting, scanning and prefetching.
#pragma once

#include <bit>
#include <cstdint>

#include "board/square.h"

namespace tarvonel
{

using bitboard = std::uint64_t;

inline constexpr bitboard fileABits = 0x0101010101010101;
inline constexpr bitboard fileHBits = fileABits << fileH;
inline constexpr bitboard rank1Bits = 0xFF;
inline constexpr bitboard rank8Bits = rank1Bits << 56;
inline constexpr bitboard lightSquares = 0x55AA55AA55AA55AA;
inline constexpr bitboard darkSquares = ~lightSquares;

constexpr bitboard bit(int square) { return bitboard{1} << square; }
constexpr bitboard fileBits(int file) { return fileABits << file; }
constexpr bitboard rankBits(int rank) { return rank1Bits << (8 * rank); }

/// Number of set bits; one instruction where the build target has it.
constexpr int popCount(bitboard bits)
{
#if defined(__POPCNT__) || defined(__ARM_NEON)
    return std::popcount(bits);
#else
    bits -= (bits >> 1) & 0x5555555555555555;
    bits = (bits & 0x3333333333333333) + ((bits >> 2) & 0x3333333333333333);
    bits = (bits + (bits >> 4)) & 0x0F0F0F0F0F0F0F0F;
    return static_cast<int>((bits * fileABits) >> 56);
#endif
}

/// `popCount` for sets that rarely have more than two squares, where a loop is faster on targets without
/// the instruction.
constexpr int sparseCount(bitboard bits)
{
#if defined(__POPCNT__) || defined(__ARM_NEON)
    return std::popcount(bits);
#else
    int count = 0;
    for (; bits != 0; bits &= bits - 1)
        ++count;
    return count;
#endif
}

constexpr bool moreThanOne(bitboard bits) { return (bits & (bits - 1)) != 0; }
constexpr bool exactlyOne(bitboard bits) { return bits != 0 && !moreThanOne(bits); }

/// The lowest and highest square of a nonempty set.
constexpr int lowestSquare(bitboard bits) { return std::countr_zero(bits); }
constexpr int highestSquare(bitboard bits) { return 63 - std::countl_zero(bits); }

/// Removes the lowest square from a nonempty set and returns it.
constexpr int popLowest(bitboard &bits)
{
    const int square = lowestSquare(bits);
    bits &= bits - 1;
    return square;
}

/// Shifts the set one rank forward for `Side`.
template <colour Side> constexpr bitboard shiftForward(bitboard bits) { return Side == white ? bits << 8 : bits >> 8; }

/// Squares attacked by pawns of `Side`, in one diagonal direction or both. 9 is towards the h-file for
/// white and towards the a-file for black, 7 the other way.
template <colour Side> constexpr bitboard pawnAttacksBy9(bitboard pawns)
{
    return Side == white ? (pawns & ~fileHBits) << 9 : (pawns & ~fileABits) >> 9;
}
template <colour Side> constexpr bitboard pawnAttacksBy7(bitboard pawns)
{
    return Side == white ? (pawns & ~fileABits) << 7 : (pawns & ~fileHBits) >> 7;
}
template <colour Side> constexpr bitboard pawnAttackSet(bitboard pawns)
{
    return pawnAttacksBy9<Side>(pawns) | pawnAttacksBy7<Side>(pawns);
}

#ifdef __BMI2__
/// Packs the bits of `value` selected by `mask` into the low bits of the result (PEXT).
inline std::uint64_t gatherBits(bitboard value, bitboard mask) { return __builtin_ia32_pext_di(value, mask); }
#endif

/// Prefetches the cache line at `address`; never faults.
inline void prefetch(const void *address) { __builtin_prefetch(address); }

} // namespace tarvonel
