// The mean of networks trained from one ancestor.
//
// Each is overfitted to some of its games; averaging the weights keeps what they share and damps what
// is specific to one.
#pragma once

#include <memory>
#include <vector>

#include "eval/networkFile.h"

namespace tarvonel
{

/// Each network file has its first-layer lanes in a different order. Returns for each lane of
/// `reference` the lane of `other` with the nearest weights; empty if two lanes have the same nearest
/// lane, as in networks without a common ancestor.
std::vector<int> matchLanes(const networkWeights &reference, const networkWeights &other);

/// The mean of each weight, halves rounded to even, with the lanes in the first network's order and without the
/// rearranged weights. Throws std::runtime_error if a network is not related to the first.
std::unique_ptr<networkWeights> meanOfNetworks(std::vector<std::unique_ptr<networkWeights>> networks);

} // namespace tarvonel
