// Optional test data outside the project.
#pragma once

#include <string>

namespace tarvonel
{

/// Path of a file below the directory named by the environment variable TARVONEL_TEST_DATA, or
/// else below `../shared` from the project's root. The file need not exist.
std::string sharedDataPath(const std::string &relative);

/// Path of the network file that the figures of the test data were computed with: the one named by
/// the environment variable TARVONEL_TEST_NET, or one that the generator in the test data
/// writes into the directory for temporary files at the first call. Empty if there is neither; a
/// test that needs it then skips.
const std::string &vectorNetwork();

} // namespace tarvonel
