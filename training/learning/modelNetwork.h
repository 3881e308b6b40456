// Conversion between the model in training and the engine's network.
#pragma once

#include <vector>

#include "eval/networkFile.h"
#include "learning/trainerModel.h"

namespace tarvonel
{

/// Sums the rows of all features and rounds all weights to the file's integers.
void quantiseModel(const trainerModel &model, networkWeights &weights);

/// Reorders the first layer: lane i becomes the former lane lanes[i]. The network's output does not change.
void orderLanes(networkWeights &weights, const std::vector<int> &lanes);

/// Sets the model's weights from a network. Splits its rows among the model's levels, as far as possible
/// into the shared ones. Without the level "free" the rest is lost, which is only rounding if the network
/// was trained with the same levels. Returns the share of the rows' squares that the levels hold.
double importNetwork(trainerModel &model, const networkWeights &weights);

} // namespace tarvonel
