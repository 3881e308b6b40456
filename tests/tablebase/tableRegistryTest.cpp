// Finding tables: names, directories, file sizes; files that are corrupt; first use by many threads.

#include <gtest/gtest.h>

#include <array>
#include <barrier>
#include <filesystem>
#include <fstream>
#include <set>
#include <thread>

#include "support/tablebaseWorld.h"
#include "tablebase/probe.h"
#include "tablebase/tableProbe.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

using namespace endings;

namespace
{

using bytes = std::vector<std::uint8_t>;
constexpr std::size_t smallestSize = 16;

/// A position of the material, its men on squares of their own.
tbPosition anyPosition(const std::string &name)
{
    ending position = menOfName(name);
    for (int i = 0; i < position.count; ++i)
        position.squares[i] = 8 + 2 * i;
    return toTbPosition(position);
}

tablebaseEntry *entryOf(const std::string &name) { return findTable(materialSignature(anyPosition(name), white)); }

/// What a piece of code writes to standard output, then to standard error.
template <typename F> std::array<std::string, 2> capture(F &&run)
{
    testing::internal::CaptureStdout();
    testing::internal::CaptureStderr();
    run();
    return {testing::internal::GetCapturedStdout(), testing::internal::GetCapturedStderr()};
}

/// Rows of up to five men, none stronger than the one before it.
void addRows(std::vector<std::string> &rows, const std::string &row)
{
    rows.push_back(row);
    static const std::string letters = "QRBNP";
    if (row.size() < 5)
        for (std::size_t i = row.empty() ? 0 : letters.find(row.back()); i < letters.size(); ++i)
            addRows(rows, row + letters[i]);
}

ending winningQueen(colour turn = white) { return threeMen("KQvK", c2, d3, e5, turn); }

int wdlOf(const ending &position, int &success) { return probeWdl(toTbPosition(position), success); }

void copyTables(std::initializer_list<const char *> names, const temporaryDirectory &to)
{
    for (const char *name : names)
        std::filesystem::copy_file(threeMenWorld().directory / name, to / name,
                                   std::filesystem::copy_options::overwrite_existing);
}

} // namespace

TEST(tableRegistry, everyMaterialOfUpToSevenMenHasItsName)
{
    std::vector<std::string> rows;
    addRows(rows, "");
    const temporaryDirectory directory;
    std::set<std::string> materials;
    for (const std::string &first : rows)
        for (const std::string &second : rows)
            if (const std::size_t men = first.size() + second.size(); men >= 1 && men <= 5)
            {
                // The mirrored names lie there too, and are not asked for.
                writeBytes(directory / ("K" + first + "vK" + second + ".rtbw"), bytes(smallestSize));
                materials.insert("K" + first + "vK" + second);
            }
    initTablebases(directory.path);
    EXPECT_EQ(tableCardinality, 7u);
    std::set<const tablebaseEntry *> entries;
    int withPawns = 0, symmetric = 0;
    for (const std::string &name : materials)
    {
        const tablebaseEntry *entry = entryOf(name);
        ASSERT_NE(entry, nullptr) << name;
        EXPECT_EQ(entry->material.symmetric, name.substr(0, name.find('v')) == name.substr(name.find('v') + 1));
        EXPECT_EQ(entry->material.hasPawns, name.find('P') != std::string::npos);
        EXPECT_EQ(entry->material.pieces, name.size() - 1);
        EXPECT_FALSE(entry->hasDtz || entry->hasDtm);
        if (!entries.insert(entry).second)
            continue;
        withPawns += entry->material.hasPawns;
        symmetric += entry->material.symmetric;
    }
    EXPECT_EQ(entries.size(), 1511u);
    EXPECT_EQ(withPawns, 861);
    EXPECT_EQ(symmetric, 20);

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

TEST(tableRegistry, filesComeFromTheFirstDirectoryThatHasThem)
{
    const temporaryDirectory first, second;
    // The WDL file of the first directory says that all is lost; distances lie in the second alone.
    writeBytes(first / "KQvK.rtbw", makeConstantWdlTable("KQvK", -2, -2));
    std::filesystem::create_directory(first / "KRvK.rtbw");
    copyTables({"KQvK.rtbw", "KQvK.rtbz", "KRvK.rtbw"}, second);

    int success = 0;
    initTablebases(";;" + first.path + ";;" + (first / "nowhere") + ";" + second.path + ";");
    EXPECT_EQ(wdlOf(winningQueen(), success), -2);
    ASSERT_NE(entryOf("KQvK"), nullptr);
    EXPECT_TRUE(entryOf("KQvK")->hasDtz);
    EXPECT_NE(entryOf("KRvK"), nullptr) << "a directory of that name is no file";
    EXPECT_EQ(entryOf("KvKQ"), entryOf("KQvK"));

    initTablebases(second.path + ";" + first.path);
    EXPECT_EQ(wdlOf(winningQueen(), success), 2);
#ifndef _WIN32
    initTablebases(first.path + ":" + second.path);
    EXPECT_EQ(wdlOf(winningQueen(), success), -2);
#endif
    initTablebases(";");
    EXPECT_EQ(tableCardinality, 0u);
}

TEST(tableRegistry, filesOfAWrongSizeAreToldOfAndLeftOut)
{
    const temporaryDirectory directory;
    writeBytes(directory / "KQvK.rtbw", bytes(128));
    writeBytes(directory / "KRvK.rtbw", bytes(64 + smallestSize));
    writeBytes(directory / "KRvK.rtbm", bytes(64 + smallestSize));
    writeBytes(directory / "KRvK.rtbz", bytes(17));
    writeBytes(directory / "KBvK.rtbz", bytes(17)); // not looked at without its WDL file
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

TEST(tableRegistry, aCorruptFileCostsOneMessageAndItsOwnKindOnly)
{
    const temporaryDirectory directory;
    copyTables({"KQvK.rtbw", "KRvK.rtbw", "KRvK.rtbz"}, directory);
    writeBytes(directory / "KQvK.rtbz", bytes(smallestSize));
    initTablebases(directory.path);

    int success = 0;
    const auto [out, error] = capture(
        [&]
        {
            for (int i = 0; i < 3; ++i)
            {
                EXPECT_EQ(probeDtz(toTbPosition(winningQueen()), success), 0);
                EXPECT_EQ(success, 0);
                EXPECT_EQ(wdlOf(winningQueen(), success), 2);
                EXPECT_EQ(success, 1);
            }
        });
    EXPECT_EQ(error, "Corrupted table.\n");
    EXPECT_EQ(out, "");
    EXPECT_GT(probeDtz(toTbPosition(threeMen("KRvK", c2, d3, e5)), success), 0) << "another table";
    EXPECT_EQ(success, 1);
    // What could not be used is tried again after the next setting.
    copyTables({"KQvK.rtbz"}, directory);
    initTablebases(directory.path);
    EXPECT_GT(probeDtz(toTbPosition(winningQueen()), success), 0);
    initTablebases("");
}

TEST(tableRegistry, aFileThatGoesOrShrinksAfterTheScanIsNoTable)
{
    const temporaryDirectory directory;
    copyTables({"KQvK.rtbw", "KRvK.rtbw"}, directory);
    initTablebases(directory.path);
    std::filesystem::remove(directory / "KQvK.rtbw");
    std::filesystem::resize_file(directory / "KRvK.rtbw", 0);
    int success = 1;
    const auto [out, error] = capture(
        [&]
        {
            wdlOf(winningQueen(), success);
            EXPECT_EQ(success, 0);
            success = 1;
            probeTable(anyPosition("KRvK"), 0, success, wdlKind);
            EXPECT_EQ(success, 0);
        });
    EXPECT_EQ(error, "Corrupted table.\n");
    initTablebases("");
}

TEST(tableRegistry, threadsThatMeetAtFirstUseMapAFileOnce)
{
    constexpr int threadCount = 8, rounds = 20;
    const solvedWorld &world = threeMenWorld();
    for (int round = 0; round < rounds; ++round)
    {
        initTablebases(world.directory.path);
        std::barrier start(threadCount);
        std::atomic<int> wrong{0};
        std::vector<std::thread> threads;
        for (int i = 0; i < threadCount; ++i)
            threads.emplace_back(
                [&, i]
                {
                    const ending position = winningQueen(i % 2 ? black : white);
                    start.arrive_and_wait();
                    int success = 0;
                    const int dtz = probeDtz(toTbPosition(position), success);
                    wrong += success == 0 || dtz != world.solver.value(position);
                });
        for (std::thread &thread : threads)
            thread.join();
        EXPECT_EQ(wrong, 0);
#ifdef __linux__
        std::ifstream maps("/proc/self/maps");
        int mappings = 0;
        for (std::string row; std::getline(maps, row);)
            mappings += row.find("KQvK.rtbw") != std::string::npos;
        EXPECT_EQ(mappings, 1);
#endif
    }
    initTablebases("");
}

} // namespace tarvonel
