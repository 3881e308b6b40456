// A model judged over positions: its error, and whether its neurons live.
#pragma once

#include <span>
#include <string>
#include <vector>

#include "board/pieceValues.h"
#include "learning/trainerPass.h"
#include "platform/workCrew.h"

namespace tarvonel
{

/// What became of a layer's neurons. A neuron that always stands at one end of its range computes
/// nothing, and as no gradient passes there it learns nothing either.
struct layerHealth
{
    int neurons = 0;
    int dead = 0;            ///< always 0
    int nearlyDead = 0;      ///< 0 but for one position in a hundred, or fewer
    int saturated = 0;       ///< at the upper end but for so few
    double alive = 0;        ///< share of the values that are not 0
    std::size_t atLimit = 0; ///< weights into the layer that stand at their limit
};

/// The positions of some game phases.
struct phaseError
{
    std::size_t positions = 0;
    double error = 0; ///< mean of the squares
};
inline constexpr int phasesPerGroup = 6;                       ///< 0 to 5, 6 to 11, ...
inline constexpr int phaseGroups = fullPhase / phasesPerGroup; ///< the last one with phase 24

struct judgement
{
    double error = 0; ///< mean of the squares
    phaseError byPhase[phaseGroups];
    layerHealth layers[3]; ///< transformer, first and second hidden layer
    std::size_t outputAtLimit = 0;
    /// The lanes of the first layer, the one most often alive first: side by side, lanes that are
    /// often 0 together save the engine whole groups of inputs. All in order where there is no position.
    std::vector<int> lanes;
};

judgement judgeModel(const trainerModel &model, workCrew &crew, std::span<const trainingPosition> positions,
                     const learningSettings &settings);

/// The error by game phase in one line.
std::string phaseText(const judgement &judged);

/// The neurons' state in one line for each layer.
std::string healthText(const judgement &judged);

} // namespace tarvonel
