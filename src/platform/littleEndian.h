// Little-endian numbers in files. All supported machines are little-endian, so bytes are copied as is.
#pragma once

#include <array>
#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <istream>
#include <ostream>
#include <vector>

namespace tarvonel
{

static_assert(std::endian::native == std::endian::little, "bytes are copied as is");

/// The number at `at`, which need not be aligned.
template <typename Number> Number readLittle(const std::uint8_t *at)
{
    Number number;
    std::memcpy(&number, at, sizeof number);
    return number;
}

/// Reads `count` numbers. If the stream ends early, the remaining ones keep their values.
template <typename Number> void readLittle(std::istream &stream, Number *numbers, std::size_t count)
{
    stream.read(reinterpret_cast<char *>(numbers), static_cast<std::streamsize>(count * sizeof(Number)));
}

template <typename Number> void writeLittle(std::ostream &stream, const Number *numbers, std::size_t count)
{
    stream.write(reinterpret_cast<const char *>(numbers), static_cast<std::streamsize>(count * sizeof(Number)));
}

template <typename Number> void appendLittle(std::vector<std::uint8_t> &bytes, Number number)
{
    for (const std::uint8_t byte : std::bit_cast<std::array<std::uint8_t, sizeof number>>(number))
        bytes.push_back(byte);
}

} // namespace tarvonel
