// Writes the network file that `readNet` reads: for the programs that make one.
#pragma once

#include <ostream>
#include <string>

#include "eval/networkFile.h"

namespace tarvonel
{

/// Writes the rows of `weights`; version and hash words are 0. The 8-bit weights must lie within a
/// signed byte.
void writeNet(std::ostream &stream, const networkWeights &weights, const std::string &description);

} // namespace tarvonel
