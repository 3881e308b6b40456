// Replacing of files under a full disk.

#include <csignal>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <sys/resource.h>

#include <gtest/gtest.h>

#include "atomicFile.h"
#include "learning/networkWriter.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{

TEST(atomicFile, aFullDiskLeavesTheOldFile)
{
    const temporaryDirectory directory;
    const std::string path = directory / "network";
    replaceFile(path, [](std::ostream &stream) { stream << "old"; });
    std::string content = "a size below one buffer fails when the file is closed";
    const auto weights = std::make_unique<networkWeights>();
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const auto handler = std::signal(SIGXFSZ, SIG_IGN);
    const rlimit tight{10, before.rlim_max};
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &tight), 0);
    EXPECT_THROW(writeNetwork(path, *weights, ""), std::runtime_error);
    EXPECT_THROW(replaceFile(path, [&](std::ostream &stream) { stream << content; }), std::runtime_error);
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, handler);
    EXPECT_EQ(std::filesystem::file_size(path), 3U);
    EXPECT_FALSE(std::filesystem::exists(path + ".part"));
    EXPECT_THROW(replaceFile(directory.path, [](std::ostream &) {}), std::runtime_error) << "a directory";
    replaceFile(path, [&](std::ostream &stream) { stream << content; });
    EXPECT_EQ(std::filesystem::file_size(path), content.size());
}

} // namespace tarvonel
