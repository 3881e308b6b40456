// The model as the engine's network, both ways.
#pragma once

#include <string>
#include <vector>

#include "eval/networkFile.h"
#include "learning/trainerModel.h"

namespace tarvonel
{

/// The network as the engine computes it: rows expanded, all rounded to the file's integers.
void quantiseModel(const trainerModel &model, networkWeights &weights);

/// Lane i of the first layer becomes what lane lanes[i] was; the network stays the same function.
void orderLanes(networkWeights &weights, const std::vector<int> &lanes);

/// Writes the network file of the model, the first layer's lanes in the order given. Empty text or
/// what went wrong.
std::string writeNetwork(const trainerModel &model, const std::vector<int> &lanes, const std::string &path,
                         const std::string &description);

/// Takes over a network's weights. Its rows are split among the model's levels, as much of them as
/// will go into the shared ones; without a level of free rows the rest is lost, which is nothing but
/// rounding where the network was learnt with the same levels. The share of the rows' squares that
/// the levels hold.
double takeNetwork(trainerModel &model, const networkWeights &weights);

} // namespace tarvonel
