// One step of learning: a batch of positions forward, backward, and into the weights.
//
// The positions of a batch touch some thousands of the first layer's rows, most of them many times.
// So each touched row is summed from its levels once, all gradients of one row are gathered into
// one, and only then do these few go to the levels: sharing rows costs next to nothing, and rows that
// nothing touches cost nothing at all.
#pragma once

#include <memory>
#include <span>

#include "learning/trainerPass.h"
#include "platform/workCrew.h"

namespace tarvonel
{

/// The arrays that a step works in; kept from one step to the next. Belongs to one thread.
struct trainerWorkspace;
struct workspaceDeleter
{
    void operator()(trainerWorkspace *workspace) const;
};
using workspacePointer = std::unique_ptr<trainerWorkspace, workspaceDeleter>;
workspacePointer makeWorkspace();

/// Learns from the positions; returns the sum of their squared errors before the step. The sums are
/// the same each time with the same number of threads.
double learnBatch(trainerModel &model, trainerWorkspace &workspace, workCrew &crew,
                  std::span<const trainingPosition> positions, const learningSettings &settings);

} // namespace tarvonel
