// The mean of networks that were learnt from one ancestor.
//
// Each learns by heart some of the games it saw; in the mean of their weights what they share stays
// and what is peculiar to each fades.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "eval/networkFile.h"

namespace tarvonel
{

/// Networks are written with their first layer's lanes in an order of their own. For each lane of
/// `reference` the lane of `other` that has the nearest weights; none at all where two lanes have
/// the same nearest one, as those of networks without a common ancestor do.
std::vector<int> matchLanes(const networkWeights &reference, const networkWeights &other);

/// Weight by weight the rounded mean, in the first network's order of lanes, without the rearranged
/// weights; nothing where one of them is no relative of the first, and `error` tells which, counting from 1.
std::unique_ptr<networkWeights> meanOfNetworks(std::vector<std::unique_ptr<networkWeights>> networks,
                                               std::string &error);

} // namespace tarvonel
