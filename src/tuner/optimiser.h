// The tuner: fits the hand-set evaluation to the network by coordinate descent on the mean squared
// error over a file of positions. Also known as Texel's method.
//
// Threads: runs on the console thread, which alone changes terms and `tuningK`, between two passes
// of the tuner's own threads.
#pragma once

#include "board/pos.h"
#include "tuner/tunerOutput.h"
#include "tuner/tuningParameter.h"

namespace tarvonel
{

inline constexpr int minTunerThreads = 1;
inline constexpr int maxTunerThreads = 256;

/// Puts the parameters of a run into an empty list.
using parameterRegistration = void (*)(parameterList &parameters);

/// The whole run on `threads` threads: reads the data file, finds K, optimises what `enter` enters.
/// Sets up the file's positions in `position`, which keeps the last. The terms keep the values found
/// until the process ends. False, with a message, if there is nothing to tune with.
bool texel(int threads, pos &position, const tunerOutput &print, parameterRegistration enter = registerParameters);

/// The K of the smallest error, in five sweeps, each ten times finer than the one before. Leaves
/// `tuningK` at the last value tried.
double findK(const tunerOutput &print);

/// Moves each parameter in turn by the largest step that lowers the error, until a whole pass over
/// the list brings nothing.
void optimise(parameterList &parameters, const tunerOutput &print);

} // namespace tarvonel
