#include "search/transpositionTable.h"

#include <algorithm>
#include <bit>
#include <cstring>

#include "board/engineOptions.h"
#include "platform/largeMemory.h"
#include "platform/threadPool.h"
#include "search/score.h"

namespace tarvonel
{

ttCluster *ttTable = nullptr;
std::uint64_t ttMask = 0;
relaxed<bool> ttIsBlank = false;
std::uint8_t ttAge = 0;

namespace
{

constexpr int pliesLostPerAge = 4; // per search since the store
constexpr int bestWorst = 32768;

std::uint32_t ttSearchCount = 0; // `go` commands since the last clear
std::uint64_t allocatedBytes = 0;

std::uint64_t packEntry(moveCode move, int value, int depth, ttBound bound)
{
    const auto valueBits = static_cast<std::uint16_t>(value);
    const auto depthBits = static_cast<std::uint8_t>(depth);
    const std::uint64_t ageAndBound = static_cast<std::uint64_t>(ttAge) * 4 + bound;
    return move | static_cast<std::uint64_t>(valueBits) << 32 | static_cast<std::uint64_t>(depthBits) << 48 |
           ageAndBound << 56;
}

/// The value of keeping an entry: depth, minus a penalty for age, plus one for exact scores.
int keepValue(ttEntry entry)
{
    return entry.depth() - pliesLostPerAge * ((ttAge - entry.age()) & (ttAges - 1)) +
           (entry.bound() == boundExact ? 1 : 0);
}

int slotToReplace(const ttCluster &cluster, std::uint64_t key)
{
    int chosen = 0;
    int worst = bestWorst;
    for (int slot = 0; slot < ttSlots; ++slot)
    {
        const ttEntry entry{cluster.data[slot]};
        if (cluster.key[slot] == key || entry.word == 0)
            return slot;
        if (const int keep = keepValue(entry); keep < worst)
        {
            worst = keep;
            chosen = slot;
        }
    }
    return chosen;
}

void zeroClusters(std::uint64_t first, std::uint64_t count)
{
    std::memset(static_cast<void *>(ttTable + first), 0, count * sizeof(ttCluster));
}

} // namespace

void ttRelease()
{
    releaseLarge(ttTable, allocatedBytes);
    ttTable = nullptr;
    ttMask = 0;
    ttIsBlank = false;
    allocatedBytes = 0;
}

std::uint64_t ttResize(int megabytes)
{
    ttRelease();
    auto wanted = std::bit_ceil(static_cast<std::uint64_t>(std::max(megabytes, 1)));
    for (; wanted > 1; wanted /= 2)
    {
        allocatedBytes = wanted * ttClustersPerMegabyte * sizeof(ttCluster);
        ttTable = static_cast<ttCluster *>(allocateLarge(allocatedBytes));
        if (ttTable != nullptr)
            break;
    }
    if (ttTable == nullptr)
    {
        // Out of memory: use a static table of the smallest size.
        static ttCluster smallestTable[ttClustersPerMegabyte];
        ttTable = smallestTable;
        std::ranges::fill(smallestTable, ttCluster{}); // it may have been in use before
        allocatedBytes = 0;
    }
    ttMask = wanted * ttClustersPerMegabyte - 1;
    ttSearchCount = 0;
    return wanted;
}

void ttClear()
{
    ttSearchCount = 0;
    if (ttIsBlank)
        return;
    const std::uint64_t clusters = ttMask + 1;
    const auto threads = static_cast<std::uint64_t>(std::max<int>(engineOptions.threadCount, 1));
    const std::uint64_t share = clusters / threads;
    threadPool(static_cast<int>(threads))
        .parallelFor(threads, 1,
                     [&](std::size_t i)
                     {
                         const std::uint64_t first = i * share;
                         zeroClusters(first, i + 1 == threads ? clusters - first : share);
                     });
    ttIsBlank = true;
}

void ttAdvanceAge()
{
    ttAge = static_cast<std::uint8_t>(ttSearchCount & (ttAges - 1));
    ++ttSearchCount;
}

ttEntry ttProbe(std::uint64_t key)
{
    const ttCluster &cluster = ttTable[key & ttMask];
    for (int slot = 0; slot < ttSlots; ++slot)
    {
        const std::uint64_t word = cluster.data[slot];
        if (cluster.key[slot] == key)
            return {word};
    }
    return {0};
}

void ttStore(std::uint64_t key, moveCode move, int score, int depth, ttBound bound, int ply)
{
    if (ttIsBlank)
        ttIsBlank = false;
    ttCluster &cluster = ttTable[key & ttMask];
    const int slot = slotToReplace(cluster, key);
    cluster.key[slot] = key;
    cluster.data[slot] = packEntry(move, scoreToTable(score, ply), depth, bound);
}

} // namespace tarvonel
