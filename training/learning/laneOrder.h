// An order of the first layer's lanes in which the engine skips many of them.
//
// The engine multiplies chunks of four neighbouring activations and leaves out those that are all 0.
#pragma once

#include <array>
#include <cstdint>
#include <span>
#include <vector>

#include "learning/trainerKernels.h"

namespace tarvonel
{

/// The nonzero activations of one side's first layer in one position, a bit per lane.
using laneMask = std::array<std::uint64_t, transformerWidth / 64>;

laneMask nonzeroLanes(const float *activations);

/// Puts lanes that are nonzero in the same samples into one chunk: greedily, from the lane that is most
/// often nonzero. Returns a permutation of the lanes. Time: samples x nonzero lanes x transformerWidth.
std::vector<int> chunkedLanes(std::span<const laneMask> samples);

} // namespace tarvonel
