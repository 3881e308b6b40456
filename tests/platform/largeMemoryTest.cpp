#include "platform/largeMemory.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace tarvonel
{

constexpr std::size_t cacheLine = 64;
constexpr std::size_t mebibyte = std::size_t{1} << 20;

TEST(largeMemory, blocksAreZeroedAlignedWritableAndApart)
{
    const auto holds = [](const std::uint8_t *block, std::size_t bytes, int value)
    { return std::all_of(block, block + bytes, [=](std::uint8_t each) { return each == value; }); };
    for (const std::size_t bytes : {std::size_t{1}, mebibyte, 5 * mebibyte + 1})
        for (int round = 0; round < 2; ++round) // the second may get the memory that the first has written to
        {
            auto *const block = static_cast<std::uint8_t *>(allocateLarge(bytes));
            auto *const neighbour = static_cast<std::uint8_t *>(allocateLarge(bytes));
            ASSERT_TRUE(block != nullptr && neighbour != nullptr) << bytes;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % cacheLine, 0U) << bytes;
            EXPECT_TRUE(holds(block, bytes, 0) && holds(neighbour, bytes, 0)) << bytes;
            std::fill_n(block, bytes, std::uint8_t{1});
            std::fill_n(neighbour, bytes, std::uint8_t{2});
            EXPECT_TRUE(holds(block, bytes, 1)) << bytes;
            releaseLarge(block, bytes);
            EXPECT_TRUE(holds(neighbour, bytes, 2)) << bytes;
            releaseLarge(neighbour, bytes);
        }
    releaseLarge(nullptr, mebibyte);
}

TEST(largeMemory, whatTheMachineCannotHoldIsRefused)
{
    constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();
    for (const std::size_t bytes : {largest, largest - mebibyte, largest / 2, std::size_t{1} << 46})
        EXPECT_EQ(allocateLarge(bytes), nullptr) << bytes;
}

} // namespace tarvonel
