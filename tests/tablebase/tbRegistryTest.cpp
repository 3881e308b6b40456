// Finding tablebases by names, directories and file sizes; corrupt and overwritten files; first use by
// several threads.

#include <gtest/gtest.h>

#include <algorithm>
#include <array>
#include <barrier>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "support/openDescriptors.h"
#include "support/tablebaseFiles.h"
#include "support/temporaryDirectory.h"
#include "tablebase/tbProbe.h"
#include "tablebase/tbRegistry.h"

namespace tarvonel
{

using namespace tbTest;

namespace
{

constexpr std::size_t smallestSize = tbSizeRest;

/// The pieces of a name, each side on one rank.
tbPosition anyPosition(const std::string &name)
{
    const std::size_t middle = name.find('v');
    const auto row = [](const std::string &pieces) { return pieces + std::to_string(8 - pieces.size()); };
    std::string second = name.substr(middle + 1);
    std::transform(second.begin(), second.end(), second.begin(), [](char piece) { return std::tolower(piece); });
    return tablePosition("8/8/" + row(second) + "/8/8/" + row(name.substr(0, middle)) + "/8/8 w");
}

tablebaseEntry *entryOf(const std::string &name) { return findTb(materialSignature(anyPosition(name), white)); }

/// The output of the function: standard output, then standard error.
template <typename F> std::array<std::string, 2> capture(F &&run)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run();
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// Strings of up to five piece letters, strongest first.
void addRows(std::vector<std::string> &rows, const std::string &row)
{
    rows.push_back(row);
    static const std::string letters = "QRBNP";
    if (row.size() < 5)
        for (std::size_t i = row.empty() ? 0 : letters.find(row.back()); i < letters.size(); ++i)
            addRows(rows, row + letters[i]);
}

const tbPosition knightPosition = tablePosition("8/8/8/4k3/8/8/2K5/1N6 w - - 0 1");
const tbPosition queenPosition = tablePosition("8/8/8/4k3/8/3Q4/2K5/8 w - - 0 1");

void writeQueenTable(const temporaryDirectory &directory, int value)
{
    writeTables(directory.path, {{"KQvK", "KQk", value, -value}});
}

#ifdef __linux__
int mappingsOf(const std::string &path)
{
    std::ifstream maps("/proc/self/maps");
    int mappings = 0;
    for (std::string row; std::getline(maps, row);)
        mappings += row.find(path) != std::string::npos;
    return mappings;
}
#endif

void writeQueenDistances(const temporaryDirectory &directory)
{
    writeBytes(directory / "KQvK.rtbz", tableFileOf("KQk", dtzKind, {onePart(0)}));
}

} // namespace

TEST(tbRegistry, everyMaterialOfUpToSevenPiecesIsFound)
{
    std::vector<std::string> rows;
    addRows(rows, "");
    const temporaryDirectory directory;
    const std::string file = directory / "file";
    writeBytes(file, byteRow(smallestSize));
    std::set<std::string> materials;
    for (const std::string &first : rows)
        for (const std::string &second : rows)
            if (const std::size_t pieces = first.size() + second.size(); pieces >= 1 && pieces <= 5)
            {
                // Files with mirrored names exist too, but are never opened.
                std::filesystem::create_hard_link(file, directory / ("K" + first + "vK" + second + ".rtbw"));
                materials.insert("K" + first + "vK" + second);
            }
    initTablebases(directory.path);
    EXPECT_EQ(tableCardinality, 7u);
    std::set<const tablebaseEntry *> entries;
    for (const std::string &name : materials)
        entries.insert(entryOf(name));
    EXPECT_EQ(entries.count(nullptr), 0u);
    EXPECT_EQ(entries.size(), 1511u);
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(), [](auto entry) { return entry->material.hasPawns; }), 861);
    EXPECT_EQ(std::count_if(entries.begin(), entries.end(), [](auto entry) { return entry->material.symmetric; }), 20);

    // The leading pawns are those of the side with fewer; then the others, and the code of the leading.
    const std::pair<const char *, std::array<int, 3>> pawnCases[] = {{"KPvK", {1, 0, 1}},   {"KRvKP", {1, 0, 9}},
                                                                     {"KPPvKP", {1, 2, 9}}, {"KPvKP", {1, 1, 1}},
                                                                     {"KPPvKR", {2, 0, 1}}, {"KQPvKPP", {1, 2, 1}}};
    for (const auto &[name, expected] : pawnCases)
    {
        const auto &material = entryOf(name)->material;
        EXPECT_EQ((std::array<int, 3>{material.pawnCounts[0], material.pawnCounts[1], material.leadingPawn}), expected)
            << name;
    }

    initTablebases("");
    EXPECT_EQ(tableCardinality, 0u);
    EXPECT_EQ(entryOf("KQvK"), nullptr);
    EXPECT_TRUE(initTablebases("<empty>"));
    EXPECT_EQ(tableCardinality, 0u);
}

TEST(tbRegistry, filesComeFromTheFirstDirectoryThatHasThem)
{
    const temporaryDirectory first, second;
    writeQueenTable(first, -2); // every position is lost; only the second has distances
    writeQueenTable(second, 2);
    writeQueenDistances(second);
    std::filesystem::create_directory(first / "KRvK.rtbw");
    writeTables(second.path, {{"KRvK", "KRk", 2, -2}});

    int success = 0;
    initTablebases(";;" + first.path + ";;" + (first / "nowhere") + ";" + second.path + ";");
    EXPECT_EQ(probeWdl(queenPosition, success), -2);
    ASSERT_NE(entryOf("KQvK"), nullptr);
    EXPECT_TRUE(entryOf("KQvK")->hasDtz);
    EXPECT_NE(entryOf("KRvK"), nullptr) << "a directory of that name is no file";
    EXPECT_EQ(entryOf("KvKQ"), entryOf("KQvK"));

    initTablebases(second.path + ";" + first.path);
    EXPECT_EQ(probeWdl(queenPosition, success), 2);
#ifndef _WIN32
    initTablebases(first.path + ":" + second.path);
    EXPECT_EQ(probeWdl(queenPosition, success), -2);
#endif
    initTablebases(";");
    EXPECT_EQ(tableCardinality, 0u);
}

TEST(tbRegistry, filesOfAWrongSizeAreReportedAndLeftOut)
{
    const temporaryDirectory directory;
    writeBytes(directory / "KQvK.rtbw", byteRow(128));
    writeBytes(directory / "KRvK.rtbw", byteRow(64 + smallestSize));
    writeBytes(directory / "KRvK.rtbm", byteRow(64 + smallestSize));
    writeBytes(directory / "KRvK.rtbz", byteRow(17));
    writeBytes(directory / "KBvK.rtbz", byteRow(17)); // not registered without its WDL file
    const auto [out, error] = capture([&] { initTablebases(directory.path); });
    EXPECT_EQ(error, "Incomplete tablebase file KQvK.rtbw\nIncomplete tablebase file KRvK.rtbz\n");
    EXPECT_EQ(out, "info string Incomplete tablebase file KQvK.rtbw\n"
                   "info string Incomplete tablebase file KRvK.rtbz\n");
    EXPECT_EQ(entryOf("KQvK"), nullptr);
    EXPECT_EQ(entryOf("KBvK"), nullptr);
    ASSERT_NE(entryOf("KRvK"), nullptr);
    EXPECT_TRUE(entryOf("KRvK")->hasDtm);
    EXPECT_FALSE(entryOf("KRvK")->hasDtz);
    initTablebases("");
}

TEST(tbRegistry, unreadableFilesAreDisabled)
{
    const temporaryDirectory directory;
    writeQueenTable(directory, 2);
    writeBytes(directory / "KQvK.rtbz", byteRow(smallestSize));
    writeTables(directory.path, {{"KRvK", "KRk", 2, -2}, {"KBvK", "KBk", 0, 0}, {"KNvK", "KNk", 2, -2}});
    const std::vector<std::vector<int>> shortMaps(dtzMapCount, {7});
    writeBytes(directory / "KNvK.rtbz",
               tableFileOf("KNk", dtzKind, {randomPart(31332, {1}, {6, 8, dtzMappedFlag})}, shortMaps));
    initTablebases(directory.path);
    std::filesystem::remove(directory / "KRvK.rtbw");
    std::filesystem::resize_file(directory / "KBvK.rtbw", 0);

    int success = 0;
    const auto [out, error] = capture(
        [&]
        {
            for (int i = 0; i < 3; ++i)
            {
                for (const tbPosition &position : {queenPosition, knightPosition}) // by its head, by its values
                {
                    EXPECT_EQ(probeDtz(position, success), 0);
                    EXPECT_EQ(success, 0);
                    EXPECT_EQ(probeWdl(position, success), 2) << "the other kind is not touched";
                    EXPECT_EQ(success, 1);
                }
                for (const char *name : {"KRvK", "KBvK"}) // gone, and shrunk to nothing
                {
                    success = 1;
                    probeTable(anyPosition(name), 0, success, wdlKind);
                    EXPECT_EQ(success, 0) << name;
                }
            }
        });
    EXPECT_EQ(error, "Corrupted table.\nCorrupted table.\nCorrupted table.\n") << "once for each file";
    EXPECT_EQ(out, "");

    writeQueenDistances(directory); // tried again after the next setting
    initTablebases(directory.path);
    EXPECT_EQ(probeDtz(queenPosition, success), 1);
    initTablebases("");
}

#ifdef __linux__
TEST(tbRegistry, noMappingOrDescriptorIsLeftOpen)
{
    const temporaryDirectory directory;
    writeQueenTable(directory, 2);
    writeTables(directory.path, {{"KRvK", "KRk", 2, -2}});
    byteRow corrupt = tableFileOf("KQk", dtzKind, {onePart(0)});
    corrupt[0] ^= 1;
    writeBytes(directory / "KQvK.rtbz", corrupt);
    const std::ptrdiff_t descriptors = openDescriptors();
    for (int round = 0; round < 3; ++round)
    {
        initTablebases(directory.path + ";" + directory / "nowhere");
        int success = 0;
        capture([&] { probeDtz(queenPosition, success); });
        EXPECT_EQ(success, 0);
        EXPECT_EQ(mappingsOf(directory.path), 1) << "the WDL file alone";
        EXPECT_EQ(openDescriptors(), descriptors);
    }
    initTablebases("");
    EXPECT_EQ(mappingsOf(directory.path), 0);
}

// Truncated and rewritten repeatedly while threads probe, as by `cp`: a probe gives the right value or
// fails. The thread sanitizer takes the replacement of the mapping's pages for a write.
#ifndef __SANITIZE_THREAD__
TEST(tbRegistry, aFileThatIsOverwrittenDuringProbesGivesNoWrongValue)
{
    constexpr int threadCount = 3, rounds = 30, positionCount = 512;
    const temporaryDirectory directory;
    const storedPart part = randomPart(31332, {0, 1, 2, 3, 4}, {6, 6, 0});
    const byteRow file = tableFileOf("KRk", wdlKind, {part, part});
    const std::string path = directory / "KRvK.rtbw";
    writeBytes(path, file);
    initTablebases(directory.path);
    std::mt19937_64 random(1);
    std::vector<std::pair<tbPosition, int>> expected;
    while (expected.size() < positionCount)
    {
        const tbPosition position = randomPosition("KRvK", random);
        int success = 1;
        const int value = probeTable(position, 0, success, wdlKind);
        ASSERT_EQ(success, 1);
        expected.emplace_back(position, value);
    }

    int damagedRounds = 0;
    for (int round = 0; round < rounds; ++round)
    {
        initTablebases(directory.path);
        // In half of the rounds the file is mapped whole; in the others the first use meets the overwriting.
        if (int success = 1; round % 2 == 0)
            ASSERT_EQ(probeTable(expected[0].first, 0, success, wdlKind), expected[0].second);
        std::barrier start(threadCount + 1);
        std::atomic<int> wrong{0}, finished{0};
        std::atomic<bool> isDisabled{false};
        const auto probeUntilDisabled = [&]
        {
            start.arrive_and_wait();
            for (int pass = 0; pass < 5000 && !isDisabled; ++pass)
                for (const auto &[position, value] : expected)
                {
                    int success = 1;
                    const int found = probeTable(position, 0, success, wdlKind);
                    wrong += success != 0 && found != value;
                    if (success == 0)
                        isDisabled = true;
                }
            ++finished;
        };
        const auto [out, error] = capture(
            [&]
            {
                std::vector<std::thread> threads;
                for (int i = 0; i < threadCount; ++i)
                    threads.emplace_back(probeUntilDisabled);
                start.arrive_and_wait();
                while (finished < threadCount)
                {
                    std::filesystem::resize_file(path, 0);
                    writeBytes(path, file);
                }
                for (std::thread &thread : threads)
                    thread.join();
            });
        EXPECT_EQ(wrong, 0);
        EXPECT_LE(std::count(error.begin(), error.end(), '\n'), 1) << error;
        damagedRounds += out.find("KRvK.rtbw was changed while in use") != std::string::npos;
    }
    EXPECT_GT(damagedRounds, 0);
    initTablebases("");
    EXPECT_EQ(mappingsOf(directory.path), 0);
}
#endif
#endif

TEST(tbRegistry, simultaneousFirstUseMapsAFileOnce)
{
    constexpr int threadCount = 3, rounds = 100;
    const temporaryDirectory directory;
    // Many long headers: the longer the first use takes, the more often the threads meet in it.
    writeBytes(directory / "KPvK.rtbw",
               tableFileOf("PKk", wdlKind, std::vector<storedPart>(2 * leadFiles, randomPart(23436, {0}, {5, 8, 0}))));
    const tbPosition pawnPosition = tablePosition("8/8/8/4k3/8/8/2K1P3/8 w - - 0 1");
    for (int round = 0; round < rounds; ++round)
    {
        initTablebases(directory.path);
        std::atomic<int> waiting{threadCount}, wrong{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back(
                [&]
                {
                    --waiting;
                    while (waiting != 0)
                        ;
                    int success = 1;
                    wrong += probeTable(pawnPosition, 0, success, wdlKind) != -2 || success != 1;
                });
        for (std::thread &thread : threads)
            thread.join();
        ASSERT_EQ(wrong, 0);
#ifdef __linux__
        ASSERT_EQ(mappingsOf("KPvK.rtbw"), 1) << round;
#endif
    }
    initTablebases("");
#ifdef __linux__
    EXPECT_EQ(mappingsOf("KPvK.rtbw"), 0);
#endif
}

} // namespace tarvonel
