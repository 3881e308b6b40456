#include "platform/largeMemory.h"

#include <algorithm>
#include <atomic>
#include <fstream>
#include <limits>

#include <sys/mman.h>
#include <unistd.h>

namespace tarvonel
{

namespace
{

constexpr std::size_t hugePage = std::size_t{2} << 20;
constexpr std::uint64_t unlimited = std::numeric_limits<std::uint64_t>::max();

/// Bytes in blocks of `allocateLarge` that have not been released.
std::atomic<std::uint64_t> bytesInBlocks{0};

std::size_t wholeHugePages(std::size_t bytes) { return (bytes + hugePage - 1) & ~(hugePage - 1); }

/// The number after a label in a file of "label number" lines; `missing` if there is no such line.
std::uint64_t labelledNumber(const std::string &path, const std::string &label, std::uint64_t missing)
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

/// The number at the start of a file; `missing` if there is none ("max").
std::uint64_t firstNumber(const std::string &path, std::uint64_t missing)
{
    std::ifstream file(path);
    std::uint64_t number = 0;
    return file >> number ? number : missing;
}

/// The files in which a version of control groups reports memory.
struct groupFiles
{
    const char *root, *limit, *used, *statistics, *cacheLabel;
};
constexpr groupFiles filesV1 = {"/sys/fs/cgroup/memory", "/memory.limit_in_bytes", "/memory.usage_in_bytes",
                                "/memory.stat", "total_inactive_file"};
constexpr groupFiles filesV2 = {"/sys/fs/cgroup", "/memory.max", "/memory.current", "/memory.stat", "inactive_file"};

/// Bytes left below the limit of the control group in this directory. The kernel reclaims inactive file
/// pages before it enforces the limit.
std::uint64_t availableInGroup(const std::string &directory, const groupFiles &files)
{
    const std::uint64_t limit = firstNumber(directory + files.limit, unlimited);
    const std::uint64_t charged = firstNumber(directory + files.used, 0);
    const std::uint64_t cached = labelledNumber(directory + files.statistics, files.cacheLabel, 0);
    const std::uint64_t used = charged - std::min(charged, cached);
    return limit - std::min(limit, used);
}

/// The minimum over the group with this path ("/user.slice/app") and all groups that contain it.
std::uint64_t availableUpToRoot(const std::string &tree, std::string path, const groupFiles &files)
{
    std::uint64_t available = availableInGroup(tree + files.root, files);
    for (; path.size() > 1; path.erase(path.rfind('/')))
        available = std::min(available, availableInGroup(tree + files.root + path, files));
    return available;
}

/// The minimum over the process's control groups. A line of the list is "number:controllers:path";
/// version 2 has a single group and names no controllers.
std::uint64_t availableInGroups(const std::string &tree)
{
    std::uint64_t available =
        std::min(availableInGroup(tree + filesV1.root, filesV1), availableInGroup(tree + filesV2.root, filesV2));
    std::ifstream list(tree + "/proc/self/cgroup");
    std::string number, controllers, path;
    while (std::getline(list, number, ':') && std::getline(list, controllers, ':') && std::getline(list, path))
        if (!path.starts_with('/'))
            continue;
        else if (controllers.empty())
            available = std::min(available, availableUpToRoot(tree, path, filesV2));
        else if ((',' + controllers + ',').find(",memory,") != std::string::npos)
            available = std::min(available, availableUpToRoot(tree, path, filesV1));
    return available;
}

/// Bytes of the large blocks that have not been written to. The system does not count them as used yet.
std::uint64_t bytesStillUntouched()
{
    std::ifstream file("/proc/self/statm");
    std::uint64_t size = 0, resident = 0, shared = 0;
    if (!(file >> size >> resident >> shared))
        return 0;
    const std::uint64_t touched = (resident - std::min(resident, shared)) * static_cast<std::uint64_t>(getpagesize());
    const std::uint64_t blocks = bytesInBlocks;
    return blocks - std::min(blocks, touched);
}

} // namespace

std::uint64_t availableMemory(const std::string &tree)
{
    constexpr std::uint64_t kibibyte = 1024;
    const std::string memoryInfo = tree + "/proc/meminfo";
    const std::uint64_t available = labelledNumber(memoryInfo, "MemAvailable:", unlimited / (2 * kibibyte));
    const std::uint64_t machine = (available + labelledNumber(memoryInfo, "SwapFree:", 0)) * kibibyte;
    return std::min(machine, availableInGroups(tree));
}

// Linux overcommits memory and kills processes when it runs out, so a successful mapping proves little.
// Maps one huge page more than needed and unmaps what is outside the aligned block.
void *allocateLarge(std::size_t bytes)
{
    if (bytes == 0 || bytes > std::numeric_limits<std::size_t>::max() - 2 * hugePage)
        return nullptr;
    const std::uint64_t available = availableMemory("");
    if (bytes > available - std::min(available, bytesStillUntouched()))
        return nullptr;

    const std::size_t length = wholeHugePages(bytes);
    void *const mapping = mmap(nullptr, length + hugePage, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (mapping == MAP_FAILED)
        return nullptr;

    auto *const mapped = static_cast<std::byte *>(mapping);
    const std::size_t address = reinterpret_cast<std::uintptr_t>(mapped);
    const std::size_t before = wholeHugePages(address) - address;
    const std::size_t after = hugePage - before;
    if (before != 0)
        munmap(mapped, before);
    if (after != 0)
        munmap(mapped + before + length, after);

    std::byte *const block = mapped + before;
    preferLargePages(block, length);
    bytesInBlocks += length;
    return block;
}

void releaseLarge(void *block, std::size_t bytes)
{
    if (block == nullptr)
        return;
    munmap(block, wholeHugePages(bytes));
    bytesInBlocks -= wholeHugePages(bytes);
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
