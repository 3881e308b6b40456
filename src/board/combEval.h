// A middle-game and an end-game score in one 32-bit value.
//
// X(mg, eg) = eg x 65536 + mg. Sums, differences and small multiples act on both halves at once
// and wrap. The middle-game half is the low 16 bits read as signed; the end-game half is read
// with 32768 added first, which makes up for the borrow of a negative middle-game half.
#pragma once

#include <cstdint>

namespace tarvonel
{

using combEval = std::int32_t;

// NOLINTNEXTLINE(readability-identifier-naming): the form in which all evaluation tables are written
constexpr combEval X(int mg, int eg) { return static_cast<combEval>(static_cast<std::uint32_t>(eg) << 16) + mg; }

constexpr int mgOf(combEval value) { return static_cast<std::int16_t>(static_cast<std::uint32_t>(value) & 0xFFFF); }
constexpr int egOf(combEval value)
{
    return static_cast<std::int16_t>((static_cast<std::uint32_t>(value) + 0x8000U) >> 16);
}

} // namespace tarvonel
