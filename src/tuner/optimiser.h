// The tuner: fits the hand-set evaluation to the network by coordinate descent on the mean squared error
// over a file of positions ("Texel tuning").
//
// Threads: the calling thread changes terms and `tuningK` only between passes. In a pass each thread of
// the tuner, the calling one included, evaluates a slice of the positions with its own `texelWorker`.
#pragma once

#include "board/pos.h"
#include "tuner/tunerOutput.h"
#include "tuner/tuningParameter.h"

namespace tarvonel
{

inline constexpr int minTunerThreads = 1;
inline constexpr int maxTunerThreads = 256;

/// Adds the parameters of a run to an empty list.
using parameterRegistration = void (*)(parameterList &parameters);

/// A tuning run: reads the data file, finds K and optimises the parameters that `enter` adds. Sets up the
/// file's positions in `position`. The terms keep their new values until the process ends. Returns
/// false, with a message, if there is nothing to tune with.
bool texel(int threads, pos &position, const tunerOutput &print, parameterRegistration enter = registerParameters);

/// Replaces all `texelWorker`s by `count` new ones and prints the line "Lets go" for each. Returns the
/// number for which there are a thread and memory, possibly 0.
int createTexelWorkers(int count, const tunerOutput &print);

/// One pass: the mean squared error of the evaluation with the current `tunableTerms` and `tuningK`. Not a
/// number if there are no positions.
double meanError();

/// The K with the smallest error, in five sweeps, each ten times finer than the one before. Leaves
/// `tuningK` at the last value tried.
double findK(const tunerOutput &print);

/// Changes each parameter in turn by the largest step that lowers the error, until a whole pass over the
/// list changes nothing.
void optimise(parameterList &parameters, const tunerOutput &print);

} // namespace tarvonel
