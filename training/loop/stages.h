// The stages of a training loop, each in terms of one program and its files.
#pragma once

#include <string>

#include "loop/learnRun.h"

namespace tarvonel
{

/// Runs the stage that the state names. True when it is complete, false after an interrupt. Every stage
/// can be ended at any moment and run again. Throws std::runtime_error if it cannot be completed.
bool runStage(learnRun &run);

/// Copies a file, replacing the target in one piece. Throws std::runtime_error.
void copyWhole(const std::string &from, const std::string &to);

} // namespace tarvonel
