#include "eval/networkFile.h"

#include <algorithm>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <memory>
#include <sstream>

#include <gtest/gtest.h>

#include "support/syntheticNetwork.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{

namespace
{

constexpr std::size_t fileBytes = 25'184'056; // without description

bool readText(const std::string &bytes)
{
    std::istringstream stream(bytes);
    return readNet(stream);
}

void putBytes(std::string &bytes, std::size_t at, std::initializer_list<int> values)
{
    for (const int value : values)
        bytes[at++] = static_cast<char>(value);
}

} // namespace

TEST(networkFile, fieldsAreReadFromTheirOffsets)
{
    std::string bytes(fileBytes, '\0');
    putBytes(bytes, 16 + 2 * 255, {0x34, 0x92});
    putBytes(bytes, 528, {0x01, 0x02});
    putBytes(bytes, 528 + 2 * (49151 * 256 + 255), {0xFE, 0xFF});
    putBytes(bytes, 25'166'356 + 4 * 31, {0x01, 0x02, 0x03, 0x84});
    putBytes(bytes, 25'166'484, {0xFF});
    putBytes(bytes, 25'166'484 + 31 * 512 + 511, {0x7F});
    putBytes(bytes, 25'182'868, {0xFF, 0xFF, 0xFF, 0xFF});
    putBytes(bytes, 25'182'996 + 32 + 2, {0x80});
    putBytes(bytes, 25'184'020, {0x00, 0x00, 0x01, 0x00});
    putBytes(bytes, 25'184'024 + 31, {0xFD});
    for (const int descriptionLength : {0, 100})
    {
        std::string described = bytes;
        described.insert(12, static_cast<std::size_t>(descriptionLength), '\xA5');
        putBytes(described, 8, {descriptionLength});
        ASSERT_TRUE(readText(described));
        EXPECT_TRUE(netLoaded);
        EXPECT_EQ(netWeights.featureBias[255], static_cast<std::int16_t>(0x9234));
        EXPECT_EQ(netWeights.featureBias[254], 0);
        EXPECT_EQ(netWeights.featureWeight[0][0], 0x0201);
        EXPECT_EQ(netWeights.featureWeight[49151][255], -2);
        EXPECT_EQ(netWeights.hidden1Bias[31], static_cast<std::int32_t>(0x84030201));
        EXPECT_EQ(netWeights.hidden1Weight[0][0], -1);
        EXPECT_EQ(netWeights.hidden1Weight[31][511], 127);
        EXPECT_EQ(netWeights.hidden2Bias[0], -1);
        EXPECT_EQ(netWeights.hidden2Weight[1][2], -128);
        EXPECT_EQ(netWeights.outputBias, 65536);
        EXPECT_EQ(netWeights.outputWeight[31], -3);
    }
}

TEST(networkFile, writtenNetworksAreReadBack)
{
    const std::string bytes = syntheticNetworkBytes({3, 60, 1000});
    ASSERT_EQ(bytes.size(), fileBytes + 1000);
    useSyntheticNetwork({3});
    const auto expected = std::make_unique<networkWeights>(netWeights);
    useSyntheticNetwork({4});
    const std::uint32_t generation = netWeights.generation;
    ASSERT_TRUE(readText(bytes + "what follows is not read"));
    EXPECT_EQ(std::memcmp(&netWeights, expected.get(), offsetof(networkWeights, outputBias) + 4), 0); // all rows
    EXPECT_NE(netWeights.generation, generation);
}

// The first byte of each field, and cuts before, inside and after it.
TEST(networkFile, fieldsThatAFileLacksKeepTheirValues)
{
    const auto countChanged = [](const auto &values)
    {
        const auto *first = reinterpret_cast<const std::int8_t *>(&values);
        return std::count(first, first + sizeof values, 0);
    };
    const std::string zeros(fileBytes, '\0');
    const auto weights = std::make_unique<networkWeights>();
    const struct
    {
        std::size_t length;
        std::ptrdiff_t bias, features, hidden1, hidden2, output;
    } cuts[] = {{11, 0, 0, 0, 0, 0},
                {16, 0, 0, 0, 0, 0},
                {528, 512, 0, 0, 0, 0},
                {528 + 512 * 1000, 512, 512'000, 0, 0, 0},
                {25'166'484 + 700, 512, 25'165'824, 2 * 700, 0, 0},
                {25'182'996 + 33, 512, 25'165'824, 2 * 16'384, 2 * 33, 0},
                {25'184'024 + 31, 512, 25'165'824, 2 * 16'384, 2 * 1024, 2 * 31}};
    for (const auto &cut : cuts)
    {
        std::memset(static_cast<void *>(weights.get()), 1, sizeof *weights);
        std::istringstream stream(zeros.substr(0, cut.length));
        EXPECT_FALSE(readWeights(stream, *weights));
        EXPECT_EQ(countChanged(weights->featureBias), cut.bias) << cut.length;
        EXPECT_EQ(countChanged(weights->featureWeight), cut.features) << cut.length;
        EXPECT_EQ(countChanged(weights->hidden1Weight), cut.hidden1) << cut.length;
        EXPECT_EQ(countChanged(weights->hidden2Weight), cut.hidden2) << cut.length;
        EXPECT_EQ(countChanged(weights->outputWeight), cut.output) << cut.length;
    }
}

TEST(networkFile, onlyRegularFilesOfThatNameAreLoaded)
{
    const temporaryDirectory directory;
    const std::string whole = directory / "whole network.nnue";
    const std::string cut = directory / "cut.nnue";
    ASSERT_TRUE(writeSyntheticNetwork(whole));
    std::filesystem::copy_file(whole, cut);
    std::filesystem::resize_file(cut, fileBytes - 1);
    const std::string refused[] = {"", "<empty>", directory.path, cut, directory / "absent.nnue", "/dev/zero"};
    for (const std::string &name : refused)
    {
        netLoaded = true;
        EXPECT_FALSE(loadNetFile(name)) << name;
        EXPECT_FALSE(netLoaded) << name;
    }
    EXPECT_TRUE(loadNetFile(whole));
    EXPECT_TRUE(netLoaded);
}

} // namespace tarvonel
