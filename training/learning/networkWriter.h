// Writing of network files.
#pragma once

#include <string>

#include "eval/networkFile.h"

namespace tarvonel
{

/// Atomically replaces the network file by the rows of `weights`, whose hidden and output weights fit a
/// signed byte. The version and hash words are 0. Throws std::runtime_error.
void writeNetwork(const std::string &path, const networkWeights &weights, const std::string &description);

} // namespace tarvonel
