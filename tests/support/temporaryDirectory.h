// A temporary directory for a test, removed afterwards.
#pragma once

#include <cstdlib>
#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace tarvonel
{

class temporaryDirectory
{
  public:
    temporaryDirectory() : path(testing::TempDir() + "tarvonel-XXXXXX")
    {
        if (mkdtemp(path.data()) == nullptr)
            ADD_FAILURE() << "no directory " << path;
    }
    ~temporaryDirectory()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path, ignored);
    }
    temporaryDirectory(const temporaryDirectory &) = delete;
    temporaryDirectory &operator=(const temporaryDirectory &) = delete;

    /// The path of a file in it.
    std::string operator/(const std::string &name) const { return path + "/" + name; }

    std::string path;
};

} // namespace tarvonel
