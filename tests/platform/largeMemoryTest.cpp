#include "platform/largeMemory.h"

#include <algorithm>
#include <cstdint>
#include <filesystem>
#include <fstream>
#include <limits>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "support/temporaryDirectory.h"

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

TEST(largeMemory, requestsBeyondTheMachineAreRefused)
{
    constexpr std::size_t largest = std::numeric_limits<std::size_t>::max();
    for (const std::size_t bytes : {largest, largest - mebibyte, largest / 2, std::size_t{1} << 46})
        EXPECT_EQ(allocateLarge(bytes), nullptr) << bytes;
}

#ifndef _WIN32

std::size_t residentBytes()
{
    std::size_t size = 0, resident = 0;
    std::ifstream("/proc/self/statm") >> size >> resident;
    return resident * 4096;
}

TEST(largeMemory, aBlockTakesUpMemoryOnlyWhereItIsWrittenButCountsInFull)
{
    const std::size_t most = availableMemory("") / 10 * 6;
    const std::size_t before = residentBytes();
    void *const block = allocateLarge(most);
    if (block == nullptr)
        GTEST_SKIP() << "the address space is limited";
    EXPECT_LT(residentBytes(), before + 64 * mebibyte);
    EXPECT_EQ(allocateLarge(most), nullptr) << "the first block is still untouched";
    releaseLarge(block, most);
    void *const again = allocateLarge(most);
    EXPECT_NE(again, nullptr);
    releaseLarge(again, most);
}

// A group limits all groups inside it, and a process may be in a deeply nested one.
TEST(largeMemory, theTightestControlGroupAroundTheProcessLimits)
{
    using fileList = std::vector<std::pair<std::string, std::string>>;
    const std::string v1 = "sys/fs/cgroup/memory/", v2 = "sys/fs/cgroup/";
    const std::string inV2 = "0::/user.slice/app\n", inV1 = "5:cpu,memory:/app\n4:memory_other:/wrong\n0::/\n";
    constexpr std::uint64_t machine = (8000 + 1000) * 1024;
    const struct
    {
        const char *name;
        fileList files;
        std::uint64_t room;
    } cases[] = {
        {"no group", {}, machine},
        {"groups without limits", {{"proc/self/cgroup", inV2}, {v2 + "user.slice/app/memory.max", "max\n"}}, machine},
        {"v2, own group, file pages apart",
         {{"proc/self/cgroup", inV2},
          {v2 + "user.slice/app/memory.max", "4096000\n"},
          {v2 + "user.slice/app/memory.current", "2000000\n"},
          {v2 + "user.slice/app/memory.stat", "anon 7\ninactive_file 1500000\n"}},
         3596000},
        {"v2, the group around it",
         {{"proc/self/cgroup", inV2},
          {v2 + "user.slice/app/memory.max", "4096000\n"},
          {v2 + "user.slice/memory.max", "1000000\n"}},
         1000000},
        {"v2, the root of a container", {{"proc/self/cgroup", inV2}, {v2 + "memory.max", "3000000\n"}}, 3000000},
        {"v1, own group", {{"proc/self/cgroup", inV1}, {v1 + "app/memory.limit_in_bytes", "2000000\n"}}, 2000000},
        {"v1, file pages of the groups inside it too",
         {{"proc/self/cgroup", inV1},
          {v1 + "app/memory.limit_in_bytes", "2000000\n"},
          {v1 + "app/memory.usage_in_bytes", "900000\n"},
          {v1 + "app/memory.stat", "inactive_file 1\ntotal_inactive_file 600000\n"}},
         1700000},
        {"v1, another controller's group",
         {{"proc/self/cgroup", inV1}, {v1 + "wrong/memory.limit_in_bytes", "2000000\n"}},
         machine},
        {"v1, more in use than allowed",
         {{v1 + "memory.limit_in_bytes", "2000000\n"}, {v1 + "memory.usage_in_bytes", "2000001\n"}},
         0},
    };
    for (const auto &c : cases)
    {
        const temporaryDirectory tree;
        fileList files = c.files;
        files.emplace_back("proc/meminfo", "MemTotal: 99999 kB\nMemAvailable: 8000 kB\nSwapFree: 1000 kB\n");
        for (const auto &[name, text] : files)
        {
            const std::filesystem::path path = tree / name;
            std::filesystem::create_directories(path.parent_path());
            std::ofstream(path) << text;
        }
        EXPECT_EQ(availableMemory(tree.path), c.room) << c.name;
    }
}

#endif

} // namespace tarvonel
