#include "platform/largeMemory.h"

#include <algorithm>
#include <cstdint>
#include <limits>

#include <gtest/gtest.h>

namespace tarvonel
{

namespace
{

constexpr std::size_t cacheLine = 64;
constexpr std::size_t mebibyte = std::size_t{1} << 20;

} // namespace

TEST(largeMemory, blocksAreZeroedAlignedAndWritable)
{
    for (const std::size_t bytes : {std::size_t{1}, cacheLine, mebibyte, 2 * mebibyte, 5 * mebibyte + 1, 64 * mebibyte})
        for (int round = 0; round < 2; ++round) // the second may get the memory that the first has written to
        {
            auto *const block = static_cast<std::uint8_t *>(allocateLarge(bytes));
            ASSERT_NE(block, nullptr) << bytes;
            EXPECT_EQ(reinterpret_cast<std::uintptr_t>(block) % cacheLine, 0U) << bytes;
            EXPECT_TRUE(std::all_of(block, block + bytes, [](std::uint8_t value) { return value == 0; })) << bytes;
            std::fill(block, block + bytes, std::uint8_t{0xA5});
            releaseLarge(block, bytes);
        }
}

TEST(largeMemory, blocksOfSeveralAtOnceDoNotOverlap)
{
    constexpr std::size_t bytes = 3 * mebibyte;
    constexpr int blockCount = 4;
    std::uint8_t *blocks[blockCount];
    for (int index = 0; index < blockCount; ++index)
    {
        blocks[index] = static_cast<std::uint8_t *>(allocateLarge(bytes));
        ASSERT_NE(blocks[index], nullptr);
        std::fill(blocks[index], blocks[index] + bytes, static_cast<std::uint8_t>(index + 1));
    }
    releaseLarge(blocks[1], bytes); // giving one back leaves its neighbours alone
    for (const int index : {0, 2, 3})
    {
        EXPECT_TRUE(
            std::all_of(blocks[index], blocks[index] + bytes, [=](std::uint8_t value) { return value == index + 1; }));
        releaseLarge(blocks[index], bytes);
    }
}

TEST(largeMemory, whatTheMachineCannotHoldIsRefused)
{
    constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();
    for (const std::size_t bytes : {largest, largest - mebibyte, largest / 2, std::size_t{1} << 46})
        EXPECT_EQ(allocateLarge(bytes), nullptr) << bytes;
}

TEST(largeMemory, nothingMayBeGivenBack) { releaseLarge(nullptr, mebibyte); }

} // namespace tarvonel
