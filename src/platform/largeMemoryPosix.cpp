#include "platform/largeMemory.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <limits>
#include <string>

#include <sys/mman.h>

namespace tarvonel
{

namespace
{

constexpr std::size_t hugePage = std::size_t{2} << 20;
constexpr std::uint64_t unknownSize = std::numeric_limits<std::uint64_t>::max();

std::size_t wholeHugePages(std::size_t bytes) { return (bytes + hugePage - 1) & ~(hugePage - 1); }

/// The number behind a label in a file of "label number" lines; `missing` without such a line.
std::uint64_t labelledNumber(const char *path, const std::string &label, std::uint64_t missing)
{
    std::ifstream file(path);
    for (std::string word; file >> word;)
        if (word == label)
        {
            std::uint64_t number = 0;
            return file >> number ? number : missing;
        }
    return missing;
}

/// The number that a file begins with; `missing` if there is none ("max").
std::uint64_t firstNumber(const char *path, std::uint64_t missing)
{
    std::ifstream file(path);
    std::uint64_t number = 0;
    return file >> number ? number : missing;
}

/// Bytes below the limit of a control group of processes, where one is set. File pages that
/// nobody uses are given back before the limit is felt.
std::uint64_t groupRoom(const char *limitFile, const char *usedFile, const char *statisticsFile, const char *cacheLabel)
{
    const std::uint64_t limit = firstNumber(limitFile, unknownSize);
    const std::uint64_t charged = firstNumber(usedFile, 0);
    const std::uint64_t used = charged - std::min(charged, labelledNumber(statisticsFile, cacheLabel, 0));
    return limit - std::min(limit, used);
}

/// Bytes that the machine and the process's control group can still give, as far as the system
/// tells. The system promises more memory than it has and ends a process that then uses it, so a
/// successful mapping alone says little.
std::uint64_t grantableBytes()
{
    constexpr std::uint64_t kibibyte = 1024;
    constexpr const char *memoryInfo = "/proc/meminfo";
    const std::uint64_t available = labelledNumber(memoryInfo, "MemAvailable:", unknownSize / (2 * kibibyte));
    const std::uint64_t machine = (available + labelledNumber(memoryInfo, "SwapFree:", 0)) * kibibyte;

    return std::min(
        {machine,
         groupRoom("/sys/fs/cgroup/memory.max", "/sys/fs/cgroup/memory.current", "/sys/fs/cgroup/memory.stat",
                   "inactive_file"),
         groupRoom("/sys/fs/cgroup/memory/memory.limit_in_bytes", "/sys/fs/cgroup/memory/memory.usage_in_bytes",
                   "/sys/fs/cgroup/memory/memory.stat", "total_inactive_file")});
}

void *mapZeroed(std::size_t bytes)
{
    void *const block = mmap(nullptr, bytes, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    return block == MAP_FAILED ? nullptr : block;
}

} // namespace

// Maps one huge page more than asked for and gives back what lies outside the aligned block.
void *allocateLarge(std::size_t bytes)
{
    if (bytes == 0 || bytes > std::numeric_limits<std::size_t>::max() - 2 * hugePage || bytes > grantableBytes())
        return nullptr;

    const std::size_t length = wholeHugePages(bytes);
    auto *const mapped = static_cast<std::byte *>(mapZeroed(length + hugePage));
    if (mapped == nullptr)
        return nullptr;

    const std::size_t address = reinterpret_cast<std::uintptr_t>(mapped);
    const std::size_t before = wholeHugePages(address) - address;
    const std::size_t after = hugePage - before;
    if (before != 0)
        munmap(mapped, before);
    if (after != 0)
        munmap(mapped + before + length, after);

    std::byte *const block = mapped + before;
    preferLargePages(block, length);
    return block;
}

void releaseLarge(void *block, std::size_t bytes)
{
    if (block != nullptr)
        munmap(block, wholeHugePages(bytes));
}

void preferLargePages(void *block, std::size_t bytes)
{
#ifdef MADV_HUGEPAGE
    const std::size_t start = reinterpret_cast<std::uintptr_t>(block);
    const std::size_t first = wholeHugePages(start);
    const std::size_t end = (start + bytes) & ~(hugePage - 1);
    if (first < end)
        madvise(static_cast<std::byte *>(block) + (first - start), end - first, MADV_HUGEPAGE);
#endif
}

} // namespace tarvonel
