// The threads that measure how far the evaluation is from the labels of the tuning positions.
//
// Each has a slice of the positions and, in a `texelWorker` of its own, everything that it writes.
// The console thread, which works along as the first of them, changes positions, terms and
// `tuningK` only between two passes.
#pragma once

#include "tuner/tunerOutput.h"

namespace tarvonel
{

/// Replaces all `texelWorker`s by `count` new ones and prints the line "Lets go" for each. Returns
/// the number for which there are a thread and memory, which may be 0.
int createTexelWorkers(int count, const tunerOutput &print);

/// One pass: the mean squared error of the evaluation by the present values of `tunableTerms` and
/// `tuningK`. Not a number when there are no positions.
double meanError();

} // namespace tarvonel
