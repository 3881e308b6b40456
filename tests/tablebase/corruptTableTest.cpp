// Files whose bytes do not hold together: refused when they are read, or found out by the look-up
// that meets the fault; never a read outside the file, never an endless walk. The bytes lie in memory
// of exactly their size, so that a sanitizer sees any step outside.

#include <gtest/gtest.h>

#include <algorithm>
#include <fstream>
#include <iterator>
#include <memory>
#include <random>

#include "support/tablebaseWorld.h"
#include "tablebase/tableProbe.h"
#include "tablebase/tableRegistry.h"

namespace tarvonel
{

using namespace endings;

namespace
{

using bytes = std::vector<std::uint8_t>;

bytes readFile(const std::string &path)
{
    std::ifstream in(path, std::ios::binary);
    return {std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>()};
}

const tablebaseEntry &entryOf(const std::string &name)
{
    ending position = menOfName(name);
    for (int i = 0; i < position.count; ++i)
        position.squares[i] = 8 + 2 * i;
    return *findTable(materialSignature(toTbPosition(position), white));
}

struct sample
{
    std::string name;
    tableKind kind;
    bytes file;
};

sample sampleOf(const solvedWorld &world, const std::string &name, tableKind kind)
{
    return {name, kind, readFile(world.directory / (name + (kind == wdlKind ? ".rtbw" : ".rtbz")))};
}

struct damage
{
    const char *what;
    void (*make)(bytes &file);
    const char *name = "KRvK";
};

struct outcome
{
    bool accepted = false;
    int found = 0, corrupt = 0;
};

/// Reads the bytes as a table and asks for positions, sane and not.
outcome tryTable(const sample &base, const bytes &file, std::mt19937_64 &random, int questions)
{
    const auto exact = std::make_unique<std::uint8_t[]>(std::max<std::size_t>(file.size(), 1));
    std::copy(file.begin(), file.end(), exact.get());
    outcome result;
    mappedTable table;
    const tablebaseEntry &entry = entryOf(base.name);
    result.accepted = readTable(table, entry.material, base.kind, exact.get(), file.size());
    ending position = menOfName(base.name);
    for (int i = 0; i < questions && result.accepted; ++i)
    {
        for (int man = 0; man < position.count; ++man)
            position.squares[man] = static_cast<int>(random() % 64);
        position.turn = static_cast<colour>(random() % 2);
        const bool flip = random() % 2 != 0;
        const int wdl = static_cast<int>(random() % 5) - 2;
        int value = 0;
        const ending asked = flip ? swappedColours(position) : position;
        const lookUp answer = lookUpTable(table, entry.material, base.kind, toTbPosition(asked), flip, wdl, value);
        result.found += answer == lookUp::found;
        result.corrupt += answer == lookUp::corrupt;
        const bool inRange = base.kind == wdlKind ? value >= -2 && value <= 2 : value >= 0 && value <= 2 * 0xFFFF;
        EXPECT_TRUE(answer != lookUp::found || inRange);
    }
    return result;
}

bytes mutated(const sample &base, std::mt19937_64 &random)
{
    bytes file = base.file;
    const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    switch (random() % 6)
    {
    case 0: // shorter, of a valid size
        file.resize(below(file.size() / 64) * 64 + 16);
        break;
    case 1: // noise behind the magic
        for (std::size_t i = 4; i < file.size(); ++i)
            file[i] = static_cast<std::uint8_t>(random());
        break;
    case 2: // one stretch of zeros or ones
    {
        const std::size_t start = 5 + below(file.size() - 5), count = 1 + below(64);
        std::fill(file.begin() + static_cast<std::ptrdiff_t>(start),
                  file.begin() + static_cast<std::ptrdiff_t>(std::min(start + count, file.size())),
                  random() % 2 ? 0xFF : 0);
        break;
    }
    case 3: // flips in the first header
        for (std::size_t i = 0; i <= below(3); ++i)
            file[4 + below(60)] ^= static_cast<std::uint8_t>(1u << below(8));
        break;
    default: // flips in the first part of the file, where headers and indices are
        for (std::size_t i = 0; i <= below(4); ++i)
            file[4 + below(std::min<std::size_t>(file.size() - 4, 2000))] ^= static_cast<std::uint8_t>(1u << below(8));
    }
    return file;
}

void fuzz(int rounds)
{
    initTablebases(pawnsWorld().directory.path);
    std::mt19937_64 random(20220321);
    int accepted = 0, refused = 0, corrupt = 0;
    for (const tableKind kind : {wdlKind, dtzKind})
        for (const char *name : {"KQvK", "KRvK", "KPvK", "KPvKP"})
        {
            const sample base = sampleOf(pawnsWorld(), name, kind);
            for (int round = 0; round < rounds; ++round)
            {
                const outcome result = tryTable(base, mutated(base, random), random, 30);
                ++(result.accepted ? accepted : refused);
                corrupt += result.corrupt > 0;
            }
        }
    EXPECT_GT(accepted, rounds / 4);
    EXPECT_GT(refused, rounds / 4);
    EXPECT_GT(corrupt, 0);
    initTablebases("");
}

// Offsets in a table of three men without pawns: one order byte and three places end at 9.
constexpr std::size_t orderAt = 5, placesAt = 6, blockSizeAt = 11, spanAt = 12, blocksAt = 14, longestAt = 18,
                      shortestAt = 19, firstSymbolsAt = 20;

std::size_t treeAt(const bytes &file) { return firstSymbolsAt + 2u * (file[longestAt] - file[shortestAt] + 1u) + 2; }
std::size_t symbolCount(const bytes &file) { return file[treeAt(file) - 2] + 256u * file[treeAt(file) - 1]; }

/// Where there are no maps: the sparse index behind the one codec header.
std::size_t sparseAt(const bytes &file) { return treeAt(file) + 3 * symbolCount(file) + symbolCount(file) % 2; }
constexpr std::size_t spansOfRook = (31332 + 63) / 64; ///< KRvK is written in spans of 64

} // namespace

TEST(corruptTables, mutatedFilesNeverLeadOutside) { fuzz(300); }

TEST(slowTablebaseCorruption, manyMutatedFilesNeverLeadOutside) { fuzz(10000); }

TEST(corruptTables, contradictionsInTheHeaderAreRefused)
{
    initTablebases(threeMenWorld().directory.path);
    const damage damages[] = {
        {"other magic", [](bytes &f) { f[0] ^= 1; }},
        {"pawns without a pawn", [](bytes &f) { f[4] |= 2; }},
        {"order beyond the groups", [](bytes &f) { f[orderAt] = 0x11; }},
        {"a man that the name lacks", [](bytes &f) { f[placesAt] ^= 1; }},
        {"no piece at all", [](bytes &f) { f[placesAt] &= 0x88; }},
        {"the same man twice", [](bytes &f) { f[placesAt + 1] = f[placesAt]; }},
        {"blocks of 4 GiB", [](bytes &f) { f[blockSizeAt] = 32; }},
        {"no span", [](bytes &f) { f[spanAt] = 0; }},
        {"a span of 2^64", [](bytes &f) { f[spanAt] = 64; }},
        {"spans of two positions", [](bytes &f) { f[spanAt] = 1; }},
        {"no blocks", [](bytes &f) { std::fill_n(f.begin() + blocksAt, 4, 0); }},
        {"four thousand million blocks", [](bytes &f) { std::fill_n(f.begin() + blocksAt, 4, 0xFF); }},
        {"codes of no bits", [](bytes &f) { f[shortestAt] = 0; }},
        {"codes of 33 bits", [](bytes &f) { f[longestAt] = 33; }},
        {"longest below shortest", [](bytes &f) { f[longestAt] = static_cast<std::uint8_t>(f[shortestAt] - 1); }},
        {"first symbols that rise", [](bytes &f) { std::swap(f[firstSymbolsAt], f[firstSymbolsAt + 2]); }},
        {"codes without a symbol", [](bytes &f) { ++f[firstSymbolsAt]; }},
        {"a symbol of itself",
         [](bytes &f)
         {
             // The last symbol: both children are itself.
             const std::size_t last = symbolCount(f) - 1, at = treeAt(f) + 3 * last;
             f[at] = static_cast<std::uint8_t>(last);
             f[at + 1] = static_cast<std::uint8_t>(last >> 8 | (last & 0xF) << 4);
             f[at + 2] = static_cast<std::uint8_t>(last >> 4);
         }},
        {"a child that is no symbol",
         [](bytes &f) { std::fill_n(f.begin() + static_cast<std::ptrdiff_t>(treeAt(f)), 3, 0xEE); }},
        {"data cut off", [](bytes &f) { f.erase(f.end() - 64, f.end()); }},
        {"nothing but the end", [](bytes &f) { f.resize(16); }},
        {"no valid size", [](bytes &f) { f.push_back(0); }},
        {"empty", [](bytes &f) { f.clear(); }},
    };
    const sample base = sampleOf(threeMenWorld(), "KRvK", dtzKind);
    std::mt19937_64 random(1);
    EXPECT_TRUE(tryTable(base, base.file, random, 100).accepted);
    for (const damage &d : damages)
    {
        bytes file = base.file;
        d.make(file);
        EXPECT_FALSE(tryTable(base, file, random, 10).accepted) << d.what;
    }
    sample oneSided = sampleOf(threeMenWorld(), "KRvK", wdlKind);
    oneSided.file[4] &= 0xFE;
    EXPECT_FALSE(tryTable(oneSided, oneSided.file, random, 10).accepted) << "one side of a table that needs two";
    initTablebases("");
}

TEST(corruptTables, faultsThatTheHeaderHidesAreFoundByEveryLookUp)
{
    initTablebases(threeMenWorld().directory.path);
    const damage damages[] = {
        {"a walk past the last block",
         [](bytes &f)
         {
             // Blocks of one value each, and a start far before the index that is asked for.
             std::fill(f.begin() + static_cast<std::ptrdiff_t>(sparseAt(f)), f.end(), 0);
             for (std::size_t i = 0; i < spansOfRook; ++i)
                 std::fill_n(f.begin() + static_cast<std::ptrdiff_t>(sparseAt(f) + 6 * i + 4), 2, 0xFF);
         }},
        {"a walk before the first block",
         [](bytes &f)
         {
             // Spans that start at the first block, all of them long before its values.
             f[spanAt] = 31;
             std::fill_n(f.begin() + static_cast<std::ptrdiff_t>(sparseAt(f)), 6, 0);
         }},
        {"values that no map holds",
         [](bytes &f)
         {
             for (std::size_t i = 0, at = treeAt(f); i < symbolCount(f); ++i, at += 3)
                 if (f[at + 2] == 0xFF && f[at + 1] >> 4 == 0xF)
                 {
                     f[at] = 0xFE;
                     f[at + 1] = 0xFF;
                 }
         },
         "KQvK"},
    };
    std::mt19937_64 random(1);
    for (const damage &d : damages)
    {
        sample base = sampleOf(threeMenWorld(), d.name, dtzKind);
        EXPECT_GT(tryTable(base, base.file, random, 500).found, 50) << d.what;
        d.make(base.file);
        const outcome result = tryTable(base, base.file, random, 500);
        EXPECT_TRUE(result.accepted) << d.what;
        EXPECT_EQ(result.found, 0) << d.what;
        EXPECT_GT(result.corrupt, 100) << d.what;
    }
    initTablebases("");
}

TEST(corruptTables, aFaultThatALookUpMeetsDisablesThatKindOnly)
{
    const temporaryDirectory directory;
    writeBytes(directory / "KRvK.rtbw", readFile(threeMenWorld().directory / "KRvK.rtbw"));
    bytes file = readFile(threeMenWorld().directory / "KRvK.rtbz");
    for (std::size_t i = 0; i < spansOfRook; ++i) // every span names a block that is not there
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(sparseAt(file) + 6 * i), 4, 0xFE);
    writeBytes(directory / "KRvK.rtbz", file);
    initTablebases(directory.path);
    const tbPosition position = toTbPosition(threeMen("KRvK", c2, d3, e5, black));
    testing::internal::CaptureStderr();
    for (int i = 0; i < 3; ++i)
    {
        int success = 1;
        EXPECT_EQ(probeTable(position, -2, success, dtzKind), 0);
        EXPECT_EQ(success, 0);
        success = 1;
        EXPECT_EQ(probeTable(position, 0, success, wdlKind), -2);
        EXPECT_EQ(success, 1);
    }
    EXPECT_EQ(testing::internal::GetCapturedStderr(), "Corrupted table.\n");
    initTablebases("");
}

} // namespace tarvonel
