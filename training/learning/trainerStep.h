// One training step: a batch of positions forward and backward, and the update of the weights.
//
// A batch uses some thousands of the first layer's rows, most of them many times. So each used row is
// summed from its levels once per step, its gradients are summed, and only this sum goes to the levels:
// shared rows cost next to nothing, unused rows nothing.
#pragma once

#include <memory>
#include <span>

#include "learning/trainerPass.h"
#include "platform/threadPool.h"

namespace tarvonel
{

/// Buffers of a step, reused by the next. One per calling thread.
struct trainerWorkspace;
struct workspaceDeleter
{
    void operator()(trainerWorkspace *workspace) const;
};
using workspacePointer = std::unique_ptr<trainerWorkspace, workspaceDeleter>;
workspacePointer makeWorkspace();

/// Trains on the positions; returns the sum of their squared errors before the step. The result depends
/// on the number of threads, but is the same every time.
double trainBatch(trainerModel &model, trainerWorkspace &workspace, threadPool &pool,
                  std::span<const trainingPosition> positions, const trainingSettings &settings);

} // namespace tarvonel
