#include "learning/laneOrder.h"

#include <algorithm>

#include "board/bits.h"

namespace tarvonel
{

namespace
{

constexpr int lanesPerChunk = 4; ///< of most builds
constexpr int maskBits = 64;

using laneCounts = std::array<std::uint32_t, transformerWidth>;

bool intersect(const laneMask &a, const laneMask &b)
{
    return !std::ranges::equal(a, b, [](std::uint64_t first, std::uint64_t second) { return (first & second) == 0; });
}

void countLanes(laneCounts &counts, const laneMask &sample)
{
    for (std::size_t i = 0; i < sample.size(); ++i)
        for (bitboard lanes = sample[i]; lanes != 0;)
            ++counts[i * maskBits + static_cast<std::size_t>(popLowest(lanes))];
}

} // namespace

laneMask nonzeroLanes(const float *activations)
{
    laneMask mask{};
    for (std::size_t lane = 0; lane < transformerWidth; ++lane)
        mask[lane / maskBits] |= std::uint64_t{activations[lane] > 0.0F} << lane % maskBits;
    return mask;
}

std::vector<int> chunkedLanes(std::span<const laneMask> samples)
{
    std::vector<int> lanes;
    laneMask taken{};
    laneMask chunk{};
    const auto isFree = [&](std::size_t lane) { return (taken[lane / maskBits] >> lane % maskBits & 1) == 0; };
    while (lanes.size() < transformerWidth)
    {
        const bool isFirst = lanes.size() % lanesPerChunk == 0;
        if (isFirst)
            chunk = {};
        laneCounts counts{};
        for (const laneMask &sample : samples)
            if (isFirst || intersect(sample, chunk))
                countLanes(counts, sample);
        std::size_t best = transformerWidth;
        for (std::size_t lane = 0; lane < transformerWidth; ++lane)
            if (isFree(lane) && (best == transformerWidth || counts[lane] > counts[best]))
                best = lane;
        lanes.push_back(static_cast<int>(best));
        for (laneMask *mask : {&taken, &chunk})
            (*mask)[best / maskBits] |= std::uint64_t{1} << best % maskBits;
    }
    return lanes;
}

} // namespace tarvonel
