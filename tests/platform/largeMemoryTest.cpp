#include "platform/largeMemory.h"

#include <algorithm>
#include <cstdint>
#include <limits>
#include <vector>

#include <gtest/gtest.h>

namespace tarvonel
{

constexpr std::size_t cacheLine = 64;
constexpr std::size_t mebibyte = std::size_t{1} << 20;

TEST(largeMemory, blocksAreZeroedAlignedWritableAndApart)
{
    const auto holds = [](const std::uint8_t *block, std::size_t bytes, int value)
    { return std::all_of(block, block + bytes, [=](std::uint8_t each) { return each == value; }); };
    for (const std::size_t bytes : {std::size_t{1}, cacheLine, mebibyte, 2 * mebibyte, 5 * mebibyte + 1, 64 * mebibyte})
        for (int round = 0; round < 2; ++round) // the second may get the memory that the first has written to
        {
            std::vector<std::uint8_t *> blocks;
            for (const int mark : {1, 2, 3})
            {
                blocks.push_back(static_cast<std::uint8_t *>(allocateLarge(bytes)));
                ASSERT_NE(blocks.back(), nullptr) << bytes;
                EXPECT_EQ(reinterpret_cast<std::uintptr_t>(blocks.back()) % cacheLine, 0U) << bytes;
                EXPECT_TRUE(holds(blocks.back(), bytes, 0)) << bytes;
                std::fill_n(blocks.back(), bytes, static_cast<std::uint8_t>(mark));
            }
            for (const int mark : {2, 1, 3}) // giving one back leaves its neighbours alone
            {
                EXPECT_TRUE(holds(blocks[mark - 1], bytes, mark)) << bytes;
                releaseLarge(blocks[mark - 1], bytes);
            }
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
