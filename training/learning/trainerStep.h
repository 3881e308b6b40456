// One step of learning: a batch of positions forward, backward, and into the weights.
//
// The positions of a batch touch some ten thousand of the first layer's rows, most of them many
// times. So each touched row is summed from its levels once, all gradients of one row are gathered
// into one, and only then do these few go to the levels: sharing rows costs next to nothing, and
// rows that nothing touches cost nothing at all.
#pragma once

#include <memory>
#include <span>
#include <vector>

#include "learning/trainerModel.h"
#include "learning/trainingData.h"
#include "workCrew.h"

namespace tarvonel
{

struct learningSettings
{
    double resultShare = 0;  ///< weight of the game's result in the target, the rest is the score's
    double scoreScale = 250; ///< centipawns whose sigmoid is 1 / (1 + 1/e)
    double rate = 0.001;
    /// Added to a position's error for each unit of first-layer activation: fewer living inputs make
    /// the engine faster.
    double activationPrice = 0;
    double freeShare = 0.5; ///< rate of the free rows, as a share of the others'
};

/// What a position is to be taught: an expected result from 0 to 1 for the side to move.
double targetOf(const trainingPosition &position, const learningSettings &settings);

/// The arrays that a step works in; kept from one step to the next. Belongs to one thread.
struct trainerWorkspace;
struct workspaceDeleter
{
    void operator()(trainerWorkspace *workspace) const;
};
using workspacePointer = std::unique_ptr<trainerWorkspace, workspaceDeleter>;
workspacePointer makeWorkspace();

/// Learns from the positions; returns the sum of their squared errors before the step.
double learnBatch(trainerModel &model, trainerWorkspace &workspace, workCrew &crew,
                  std::span<const trainingPosition> positions, const learningSettings &settings);

/// The mean squared error over the positions.
double meanError(const trainerModel &model, workCrew &crew, std::span<const trainingPosition> positions,
                 const learningSettings &settings);

/// The lanes of the first layer, the one most often alive first: side by side, lanes that are
/// often 0 together save the engine whole groups of inputs. All in order where there is no position.
std::vector<int> lanesByUse(const trainerModel &model, workCrew &crew, std::span<const trainingPosition> positions);

} // namespace tarvonel
