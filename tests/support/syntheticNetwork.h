// Networks for tests: random weights plus a material signal and a side-to-move antisymmetry through all
// layers, so that every layer has nonzero activations and the score favours the side with more
// material. The same plan gives the same network.
#pragma once

#include <cstdint>
#include <string>

#include "eval/networkFile.h"

namespace tarvonel
{

struct syntheticNetworkPlan
{
    std::uint64_t seed = 1;
    int firstLayerBias = 60; ///< the lower, the more of the first layer's activations are zero
    std::size_t descriptionLength = 0;
};

/// Installs it as if it had been loaded from a file.
void useSyntheticNetwork(const syntheticNetworkPlan &plan = {});

/// Writes it as a file of 25,184,056 bytes plus the description; false if it cannot be written.
bool writeSyntheticNetwork(const std::string &path, const syntheticNetworkPlan &plan = {});

/// The same file's bytes, for tests of reading.
std::string syntheticNetworkBytes(const syntheticNetworkPlan &plan = {});

} // namespace tarvonel
