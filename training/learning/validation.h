// Validation of a model: its error over positions, and the health of its neurons.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "board/pieceValues.h"
#include "learning/laneOrder.h"
#include "learning/trainerPass.h"
#include "platform/threadPool.h"

namespace tarvonel
{

/// The state of a layer's neurons. A neuron that is always at one end of its range computes nothing, and
/// without a gradient it stays there.
struct layerHealth
{
    int neurons = 0;
    int dead = 0;            ///< always 0
    int nearlyDead = 0;      ///< 0 in at least 99 of 100 positions
    int saturated = 0;       ///< at the upper end in at least 99 of 100 positions
    double nonzero = 0;      ///< share of the values that are not 0
    std::size_t atLimit = 0; ///< incoming weights at their limit
};

/// The error over the positions of some game phases.
struct phaseError
{
    std::size_t positions = 0;
    double error = 0; ///< mean of the squares
};
inline constexpr int phasesPerGroup = 6;                       ///< 0 to 5, 6 to 11, ...
inline constexpr int phaseGroups = fullPhase / phasesPerGroup; ///< the last one with phase 24

struct validationResult
{
    double error = 0; ///< mean of the squares
    phaseError byPhase[phaseGroups];
    layerHealth layers[3]; ///< transformer, first and second hidden layer
    std::size_t outputAtLimit = 0;
    std::vector<laneMask> samples; ///< of both sides in some thousand positions
};

validationResult validateModel(const trainerModel &model, threadPool &pool, std::span<const trainingPosition> positions,
                               const trainingSettings &settings);

/// The error by game phase in one line.
std::string phaseText(const validationResult &result);

/// The state of the neurons in one line per layer.
std::string healthText(const validationResult &result);

} // namespace tarvonel
