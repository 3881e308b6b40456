// Where the test data lies that is not part of the project.
#pragma once

#include <cstdlib>
#include <string>

namespace tarvonel
{

/// Path of a file below the directory named by the environment variable TARVONEL_TEST_DATA, or
/// else below `../shared` beside the project's root. The file need not exist.
inline std::string sharedDataPath(const std::string &relative)
{
    const char *directory = std::getenv("TARVONEL_TEST_DATA");
    return (directory != nullptr ? std::string(directory) : std::string(TARVONEL_SOURCE_DIR) + "/../shared") + "/" +
           relative;
}

} // namespace tarvonel
