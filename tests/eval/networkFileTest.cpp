#include "eval/networkFile.h"

#include <chrono>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <memory>
#include <random>
#include <sstream>

#include <gtest/gtest.h>

#include "support/syntheticNetwork.h"

namespace tarvonel
{

namespace
{

// Where the fields stand in a file without description.
constexpr std::size_t descriptionLengthAt = 8;
constexpr std::size_t featureBiasAt = 16;
constexpr std::size_t featureWeightAt = 528;
constexpr std::size_t hidden1BiasAt = 25'166'356;
constexpr std::size_t hidden1WeightAt = 25'166'484;
constexpr std::size_t hidden2BiasAt = 25'182'868;
constexpr std::size_t hidden2WeightAt = 25'182'996;
constexpr std::size_t outputBiasAt = 25'184'020;
constexpr std::size_t outputWeightAt = 25'184'024;
constexpr std::size_t fileBytes = 25'184'056;

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

bool haveSameRows(const networkWeights &a, const networkWeights &b)
{
    return std::memcmp(a.featureBias, b.featureBias, sizeof a.featureBias) == 0 &&
           std::memcmp(a.featureWeight, b.featureWeight, sizeof a.featureWeight) == 0 &&
           std::memcmp(a.hidden1Bias, b.hidden1Bias, sizeof a.hidden1Bias) == 0 &&
           std::memcmp(a.hidden1Weight, b.hidden1Weight, sizeof a.hidden1Weight) == 0 &&
           std::memcmp(a.hidden2Bias, b.hidden2Bias, sizeof a.hidden2Bias) == 0 &&
           std::memcmp(a.hidden2Weight, b.hidden2Weight, sizeof a.hidden2Weight) == 0 &&
           std::memcmp(a.outputWeight, b.outputWeight, sizeof a.outputWeight) == 0 && a.outputBias == b.outputBias;
}

} // namespace

TEST(networkFile, fieldsStandAtTheirOffsets)
{
    std::string bytes(fileBytes, '\0');
    putBytes(bytes, featureBiasAt + 2 * 255, {0x34, 0x92});
    putBytes(bytes, featureWeightAt, {0x01, 0x02});
    putBytes(bytes, featureWeightAt + 2 * (49151 * 256 + 255), {0xFE, 0xFF});
    putBytes(bytes, hidden1BiasAt + 4 * 31, {0x01, 0x02, 0x03, 0x84});
    putBytes(bytes, hidden1WeightAt, {0xFF});
    putBytes(bytes, hidden1WeightAt + 31 * 512 + 511, {0x7F});
    putBytes(bytes, hidden2BiasAt, {0xFF, 0xFF, 0xFF, 0xFF});
    putBytes(bytes, hidden2WeightAt + 32 + 2, {0x80});
    putBytes(bytes, outputBiasAt, {0x00, 0x00, 0x01, 0x00});
    putBytes(bytes, outputWeightAt + 31, {0xFD});
    for (const std::size_t descriptionLength : {std::size_t{0}, std::size_t{100}})
    {
        std::string described = bytes;
        described.insert(12, descriptionLength, '\xA5');
        described[descriptionLengthAt] = static_cast<char>(descriptionLength);
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
    const syntheticNetworkPlan plan = {3, 60, 1000};
    const auto expected = std::make_unique<networkWeights>();
    makeSyntheticWeights(*expected, plan);
    const std::string bytes = syntheticNetworkBytes(plan);
    ASSERT_EQ(bytes.size(), fileBytes + plan.descriptionLength);
    const std::uint32_t generation = netWeights.generation;
    ASSERT_TRUE(readQuietly(bytes + "what follows is not read"));
    EXPECT_TRUE(haveSameRows(netWeights, *expected));
    EXPECT_NE(netWeights.generation, generation);
}

TEST(networkFile, filesThatEndEarlyAreRefused)
{
    const std::string bytes = syntheticNetworkBytes({1, 60, 50});
    const std::size_t lengths[] = {0,
                                   7,
                                   11,
                                   40,
                                   62,
                                   featureBiasAt + 50,
                                   featureWeightAt + 50,
                                   10'000'001,
                                   hidden1WeightAt + 50 + 17,
                                   outputBiasAt + 50 + 3,
                                   bytes.size() - 1};
    for (const std::size_t length : lengths)
    {
        netLoaded = true;
        std::string printed;
        EXPECT_FALSE(readQuietly(bytes.substr(0, length), &printed)) << length;
        EXPECT_FALSE(netLoaded) << length;
        EXPECT_EQ(printed, "") << length;
    }
    EXPECT_TRUE(readQuietly(bytes));
    EXPECT_TRUE(netLoaded);
}

TEST(networkFile, absurdDescriptionLengthNeedsNoMemory)
{
    std::string bytes = syntheticNetworkBytes();
    putBytes(bytes, descriptionLengthAt, {0xFF, 0xFF, 0xFF, 0xFF});
    EXPECT_FALSE(readQuietly(bytes));
    EXPECT_FALSE(netLoaded);
}

TEST(networkFile, onlyRegularFilesOfThatNameAreLoaded)
{
    namespace fs = std::filesystem;
    const fs::path directory = fs::path(::testing::TempDir()) / "tarvonelNetworkFileTest";
    fs::create_directories(directory);
    const std::string whole = (directory / "whole network.nnue").string();
    const std::string cut = (directory / "cut.nnue").string();
    ASSERT_TRUE(writeSyntheticNetwork(whole));
    ASSERT_TRUE(writeSyntheticNetwork(cut));
    fs::resize_file(cut, fileBytes - 1);

    const std::string refused[] = {"",         "<empty>", directory.string(), cut, (directory / "absent.nnue").string(),
                                   "/dev/zero"};
    for (const std::string &name : refused)
    {
        netLoaded = true;
        EXPECT_FALSE(loadNetFile(name)) << name;
        EXPECT_FALSE(netLoaded) << name;
    }
    ::testing::internal::CaptureStdout();
    EXPECT_TRUE(loadNetFile(whole));
    EXPECT_EQ(::testing::internal::GetCapturedStdout(), "Net read\n");
    EXPECT_TRUE(netLoaded);
    fs::remove_all(directory);
}

} // namespace tarvonel
