#include "support/sharedData.h"

#include <cstdlib>
#include <filesystem>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

namespace tarvonel
{

namespace
{

namespace fs = std::filesystem;

constexpr std::uintmax_t networkFileBytes = 25'184'056;

bool isWhole(const fs::path &file)
{
    std::error_code fault;
    return fs::file_size(file, fault) == networkFileBytes && !fault;
}

std::string findOrMake()
{
    if (const char *named = std::getenv("TARVONEL_TEST_NET"); named != nullptr)
        return isWhole(named) ? named : "";
    const fs::path generator = sharedDataPath("tools/make_net.py");
    if (!fs::exists(generator))
        return "";
    // Test programs run in parallel: each writes its own file and renames it.
    const fs::path file = fs::path(::testing::TempDir()) / "tarvonelVectorNetwork.nnue";
    if (isWhole(file))
        return file.string();
    fs::path draft = file;
    draft += std::to_string(std::random_device()());
    std::ostringstream command;
    command << "python3 " << generator << " 5 " << draft; // a path writes itself in quotation marks
    std::error_code fault;
    if (std::system(command.str().c_str()) == 0 && isWhole(draft))
        fs::rename(draft, file, fault);
    fs::remove(draft, fault);
    return isWhole(file) ? file.string() : "";
}

} // namespace

std::string sharedDataPath(const std::string &relative)
{
    const char *directory = std::getenv("TARVONEL_TEST_DATA");
    return (directory != nullptr ? std::string(directory) : std::string(TARVONEL_SOURCE_DIR) + "/../shared") + "/" +
           relative;
}

const std::string &vectorNetwork()
{
    static const std::string file = findOrMake();
    return file;
}

} // namespace tarvonel
