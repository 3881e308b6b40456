#include "eval/networkFile.h"

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

/// Reads from text, with "Net read" kept off the test's output.
bool readQuietly(const std::string &bytes, std::string *printed = nullptr)
{
    std::istringstream stream(bytes);
    ::testing::internal::CaptureStdout();
    const bool isRead = readNet(stream);
    const std::string output = ::testing::internal::GetCapturedStdout();
    if (printed != nullptr)
        *printed = output;
    return isRead;
}

void putBytes(std::string &bytes, std::size_t at, std::initializer_list<int> values)
{
    for (const int value : values)
        bytes[at++] = static_cast<char>(value);
}

} // namespace

TEST(networkFile, fieldsStandAtTheirOffsets)
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
        std::string printed;
        ASSERT_TRUE(readQuietly(described, &printed));
        EXPECT_EQ(printed, "Net read\n");
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
    ASSERT_TRUE(readQuietly(bytes + "what follows is not read"));
    EXPECT_EQ(std::memcmp(&netWeights, expected.get(), offsetof(networkWeights, outputBias) + 4), 0); // all rows
    EXPECT_NE(netWeights.generation, generation);
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
