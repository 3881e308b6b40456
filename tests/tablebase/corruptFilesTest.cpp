// Corrupt files: rejected when they are opened or by the look-up that meets the fault, without a read
// outside the file or an endless loop. The bytes are in a heap block of exactly their size, so that
// sanitizers detect reads outside.

#include <gtest/gtest.h>

#include <algorithm>
#include <memory>

#include "support/fuzzSeeds.h"
#include "support/tablebaseFiles.h"
#include "support/temporaryDirectory.h"
#include "tablebase/tbRegistry.h"

namespace tarvonel
{

using namespace tbTest;

namespace
{

constexpr std::uint64_t rookTableSize = 31332, pawnFileSize = 23436;
constexpr int rookSpanBits = 6;

struct sample
{
    std::string name;
    tbKind kind;
    byteRow file;
    tbMaterial material;
};

tbMaterial materialOf(const std::string &name)
{
    const temporaryDirectory directory;
    writeBytes(directory / (name + ".rtbw"), byteRow(tbSizeRest));
    initTablebases(directory.path);
    std::mt19937_64 random;
    const tbMaterial material = findTb(materialSignature(randomPosition(name, random), white))->material;
    initTablebases("");
    return material;
}

const sample &rookDistances()
{
    static const sample made{
        "KRvK", dtzKind, tableFileOf("KRk", dtzKind, {randomPart(rookTableSize, {0, 1, 2, 3}, {6, rookSpanBits, 0})}),
        materialOf("KRvK")};
    return made;
}

std::vector<sample> fuzzSamples()
{
    const tbMaterial pawn = materialOf("KPvK");
    const std::vector<storedPart> wdl(2 * leadFiles, randomPart(pawnFileSize, {0, 1, 2, 3, 4}, {5, 8, 0}));
    const std::vector<storedPart> dtz(leadFiles,
                                      randomPart(pawnFileSize, {0, 1, 2, 3}, {7, 10, dtzMappedFlag | dtzWideMapFlag}));
    const std::vector<std::vector<int>> maps(dtzMapCount * leadFiles, {5, 6, 7, 8});
    return {rookDistances(),
            {"KPvK", wdlKind, tableFileOf("PKk", wdlKind, wdl), pawn},
            {"KPvK", dtzKind, tableFileOf("PKk", dtzKind, dtz, maps), pawn}};
}

struct outcome
{
    bool accepted = false;
    int found = 0, corrupt = 0;
};

/// Reads the bytes as a tablebase and looks up positions, some of them impossible.
outcome tryTable(const sample &base, const byteRow &file, std::mt19937_64 &random, int lookUps)
{
    const auto exact = std::make_unique<std::uint8_t[]>(std::max<std::size_t>(file.size(), 1));
    std::copy(file.begin(), file.end(), exact.get());
    outcome result;
    mappedTablebase table;
    result.accepted = readTbFile(table, base.material, base.kind, exact.get(), file.size());
    for (int i = 0; i < lookUps && result.accepted; ++i)
    {
        const int wdl = static_cast<int>(random() % 5) - 2;
        int value = 0;
        const lookUp answer = lookUpTb(table, base.material, base.kind, scatteredPosition(base.name, random),
                                       random() % 2 != 0, wdl, value);
        result.found += answer == lookUp::found;
        result.corrupt += answer == lookUp::corrupt;
        const bool inRange = base.kind == wdlKind ? value >= -2 && value <= 2 : value >= 0 && value <= 2 * 0xFFFF;
        EXPECT_TRUE(answer != lookUp::found || inRange);
    }
    return result;
}

byteRow mutated(const sample &base, std::mt19937_64 &random)
{
    byteRow file = base.file;
    const auto below = [&](std::size_t n) { return static_cast<std::size_t>(random() % n); };
    switch (random() % 5)
    {
    case 0: // shorter, of a valid size
        file.resize(below(file.size() / 64) * 64 + 16);
        break;
    case 1: // noise after the magic
        std::generate(file.begin() + 4, file.end(), [&] { return static_cast<std::uint8_t>(random()); });
        break;
    case 2: // one stretch of zeros or ones
    {
        const std::size_t start = 5 + below(file.size() - 5), count = std::min(1 + below(64), file.size() - start);
        std::fill_n(file.begin() + static_cast<std::ptrdiff_t>(start), count, random() % 2 ? 0xFF : 0);
        break;
    }
    default: // flips where headers and indices are, or in the first header alone
        for (std::size_t room = random() % 2 ? 60 : 2000, i = 0; i <= below(4); ++i)
            file[4 + below(room)] ^= static_cast<std::uint8_t>(1u << below(8));
    }
    return file;
}

void fuzz(unsigned seed, int rounds)
{
    static const std::vector<sample> samples = fuzzSamples();
    std::mt19937_64 random(seed);
    int accepted = 0, refused = 0, corrupt = 0;
    for (const sample &base : samples)
    {
        EXPECT_GT(tryTable(base, base.file, random, 1000).found, 50) << base.name << base.kind;
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
}

// Offsets in a table of three pieces without pawns: one order byte and three piece codes end at 9.
constexpr std::size_t orderAt = 5, placesAt = 6, blockSizeAt = 11, spanAt = 12, blocksAt = 14, longestAt = 18,
                      shortestAt = 19, firstSymbolsAt = 20;

std::size_t treeAt(const byteRow &file) { return firstSymbolsAt + 2u * (file[longestAt] - file[shortestAt] + 1u) + 2; }
std::size_t symbolCount(const byteRow &file) { return file[treeAt(file) - 2]; }

/// Where there are no maps: the sparse index after the one codec header.
auto sparseOf(byteRow &file)
{
    return file.begin() + static_cast<std::ptrdiff_t>(treeAt(file) + 3 * symbolCount(file) + symbolCount(file) % 2);
}
constexpr int rookSpans = (rookTableSize + (1 << rookSpanBits) - 1) >> rookSpanBits;

struct damage
{
    const char *what;
    void (*make)(byteRow &file);
};

} // namespace

TEST(corruptTables, mutatedFilesNeverLeadOutside) { fuzz(20220321, 300); }

TEST(slowTablebaseCorruption, manyMutatedFilesNeverLeadOutside)
{
    forEachFuzzSeed(10, [](unsigned seed) { fuzz(seed, 1000); });
}

TEST(corruptTables, contradictionsInTheHeaderAreRefused)
{
    const damage damages[] = {
        {"other magic", [](byteRow &f) { f[0] ^= 1; }},
        {"pawns without a pawn", [](byteRow &f) { f[4] |= 2; }},
        {"order beyond the groups", [](byteRow &f) { f[orderAt] = 0x11; }},
        {"a piece that the name lacks", [](byteRow &f) { f[placesAt] ^= 1; }},
        {"the same piece twice", [](byteRow &f) { f[placesAt + 1] = f[placesAt]; }},
        {"blocks of 4 GiB", [](byteRow &f) { f[blockSizeAt] = 32; }},
        {"no span", [](byteRow &f) { f[spanAt] = 0; }},
        {"no blocks", [](byteRow &f) { std::fill_n(f.begin() + blocksAt, 4, 0); }},
        {"four thousand million blocks", [](byteRow &f) { std::fill_n(f.begin() + blocksAt, 4, 0xFF); }},
        {"codes of no bits", [](byteRow &f) { f[shortestAt] = 0; }},
        {"codes of 33 bits", [](byteRow &f) { f[longestAt] = 33; }},
        {"longest below shortest", [](byteRow &f) { f[longestAt] = 1; }},
        {"first symbols that rise", [](byteRow &f) { std::swap(f[firstSymbolsAt], f[firstSymbolsAt + 4]); }},
        {"codes without a symbol", [](byteRow &f) { ++f[firstSymbolsAt]; }},
        {"a symbol of itself",
         [](byteRow &f)
         {
             const auto last = static_cast<std::uint8_t>(symbolCount(f) - 1);
             f[treeAt(f) + 3u * last] = last;
             f[treeAt(f) + 3u * last + 1] = 0;
         }},
        {"a child that is no symbol",
         [](byteRow &f) { std::fill_n(f.begin() + static_cast<std::ptrdiff_t>(treeAt(f)), 3, 0xEE); }},
        {"data cut off", [](byteRow &f) { f.erase(f.end() - 64, f.end()); }},
        {"no valid size", [](byteRow &f) { f.push_back(0); }},
        {"empty", [](byteRow &f) { f.clear(); }},
    };
    std::mt19937_64 random(1);
    for (const damage &d : damages)
    {
        byteRow file = rookDistances().file;
        d.make(file);
        EXPECT_FALSE(tryTable(rookDistances(), file, random, 10).accepted) << d.what;
    }
    const sample oneSided{"KRvK", wdlKind, tableFileOf("KRk", wdlKind, {onePart(4)}), rookDistances().material};
    EXPECT_FALSE(tryTable(oneSided, oneSided.file, random, 10).accepted) << "one side of a table that needs two";
}

TEST(corruptTables, faultsAfterTheHeaderAreFoundByEveryLookUp)
{
    const damage damages[] = {
        {"a walk past the last block",
         [](byteRow &f)
         {
             // Blocks of one value each, and a start far before the index that is asked for.
             std::fill(sparseOf(f), f.end(), 0);
             for (int i = 0; i < rookSpans; ++i)
                 std::fill_n(sparseOf(f) + 6 * i + 4, 2, 0xFF);
         }},
        {"a walk before the first block",
         [](byteRow &f)
         {
             // Spans that start at the first block, all of them long before its values.
             f[spanAt] = 31;
             std::fill_n(sparseOf(f), 6, 0);
         }},
    };
    std::mt19937_64 random(1);
    for (const damage &d : damages)
    {
        byteRow file = rookDistances().file;
        d.make(file);
        const outcome result = tryTable(rookDistances(), file, random, 500);
        EXPECT_TRUE(result.accepted) << d.what;
        EXPECT_EQ(result.found, 0) << d.what;
        EXPECT_GT(result.corrupt, 100) << d.what;
    }
}

} // namespace tarvonel
