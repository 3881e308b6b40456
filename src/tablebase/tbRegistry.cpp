#include "tablebase/tbRegistry.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <deque>
#include <memory>
#include <mutex>
#include <new>
#include <string_view>
#include <unordered_map>
#include <vector>

#include "board/engineOptions.h"
#include "platform/output.h"
#include "platform/parseText.h"

namespace tarvonel
{

relaxed<unsigned> tableCardinality = 0u;

namespace
{

constexpr const char *tbSuffixes[tbKindCount] = {".rtbw", ".rtbm", ".rtbz"};
/// Piece letters by pieceType.
constexpr std::string_view tbLetters = "PNBRQK";
/// In a name, each side lists its pieces in this order, after the king.
constexpr std::string_view nameLetters = "QRBNP";
#ifdef _WIN32
constexpr char alternativeSeparator = ';';
constexpr const char *mappingCall = "MapViewOfFile()";
#else
constexpr char alternativeSeparator = ':';
constexpr const char *mappingCall = "mmap()";
#endif

std::vector<std::string> tableDirs;
std::deque<tablebaseEntry> tbEntries;
/// By both signatures of a tablebase: as named, and with the sides exchanged.
std::unordered_map<std::uint64_t, tablebaseEntry *> tableHash;
std::mutex firstUseLock;

void printError(const std::string &text) { std::fputs(text.c_str(), stderr); }

/// Finds the first file of that name in the directories. False if there is none.
bool findTbFile(const std::string &name, tbKind kind, std::string &path, std::int64_t &size)
{
    for (const std::string &directory : tableDirs)
    {
        path = directory;
        path += fileSeparator;
        path += name;
        path += tbSuffixes[kind];
        size = readableFileSize(path);
        if (size >= 0)
            return true;
    }
    return false;
}

/// Whether the first file of that name has a valid size. Reports an invalid one.
bool testTableFile(const std::string &name, tbKind kind)
{
    std::string path;
    std::int64_t size = 0;
    if (!findTbFile(name, kind, path, size))
        return false;
    if (isTbFileSize(static_cast<std::uint64_t>(size)))
        return true;
    const std::string text = "Incomplete tablebase file " + name + tbSuffixes[kind];
    printError(text + '\n');
    printInfo(text);
    return false;
}

void unmapTb(mappedTablebase &table)
{
    const unsigned long error = unmapFile(table.mapping);
    if (error != 0)
        printError("unmap failed, error code " + std::to_string(error) + "\n");
}

tbMaterial materialOfName(std::string_view name, std::uint64_t signatures[2])
{
    tbMaterial material;
    int side = 0;
    signatures[0] = signatures[1] = 0;
    for (const char letter : name)
    {
        if (letter == 'v')
        {
            side = 1;
            continue;
        }
        const std::size_t type = tbLetters.find(letter);
        if (type >= pieceTypeCount)
            continue;
        ++material.counts[side][type];
        ++material.pieces;
        if (type == king)
            continue;
        signatures[0] += signatureParts[side][type];
        signatures[1] += signatureParts[side ^ 1][type];
    }
    material.symmetric = signatures[0] == signatures[1];

    const std::uint8_t first = material.counts[0][pawn], second = material.counts[1][pawn];
    material.hasPawns = first + second > 0;
    const bool secondLeads = second > 0 && (first == 0 || second < first);
    material.pawnCounts[0] = secondLeads ? second : first;
    material.pawnCounts[1] = secondLeads ? first : second;
    material.leadingPawn = static_cast<std::uint8_t>(pawn + 1 + (secondLeads ? secondSideFlag : 0));

    int singles = 0;
    for (const auto &counts : material.counts)
        for (const std::uint8_t count : counts)
            singles += count == 1 ? 1 : 0;
    material.kkEncoding = !material.hasPawns && singles == 2;
    return material;
}

void registerTb(const std::string &name)
{
    if (!testTableFile(name, wdlKind))
        return;
    std::uint64_t signatures[2];
    tablebaseEntry &entry = tbEntries.emplace_back();
    entry.material = materialOfName(name, signatures);
    entry.signature = signatures[0];
    entry.name = name;
    entry.hasDtm = testTableFile(name, dtmKind);
    entry.hasDtz = testTableFile(name, dtzKind);
    for (const std::uint64_t signature : signatures)
        tableHash[signature] = &entry;
    tableCardinality = std::max<unsigned>(tableCardinality, entry.material.pieces);
}

/// All strings of `count` piece letters in the order of names.
std::vector<std::string> pieceCombinations(int count)
{
    std::vector<std::string> rows{""};
    for (int i = 0; i < count; ++i)
    {
        std::vector<std::string> longer;
        for (const std::string &row : rows)
            for (std::size_t letter = row.empty() ? 0 : nameLetters.find(row.back()); letter < nameLetters.size();
                 ++letter)
                longer.push_back(row + nameLetters[letter]);
        rows = std::move(longer);
    }
    return rows;
}

/// Registers the tablebases with these numbers of pieces besides the kings. If the numbers are equal,
/// a combination and its mirror image share one tablebase.
void registerTbs(int firstPieces, int secondPieces)
{
    const std::vector<std::string> firstRows = pieceCombinations(firstPieces),
                                   secondRows = pieceCombinations(secondPieces);
    for (std::size_t first = 0; first < firstRows.size(); ++first)
        for (std::size_t second = firstPieces == secondPieces ? first : 0; second < secondRows.size(); ++second)
            registerTb("K" + firstRows[first] + "vK" + secondRows[second]);
}

/// The names that are tried, in this order: number of pieces of both sides besides the kings.
constexpr int namePatterns[][2] = {{1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {2, 2},
                                   {3, 1}, {4, 0}, {5, 0}, {4, 1}, {3, 2}};

void splitPath(std::string path)
{
    std::ranges::replace(path, alternativeSeparator, ';');
    for (const std::string_view directory : splitFields(path, ';'))
        if (!directory.empty())
            tableDirs.emplace_back(directory);
}

void releaseTbs()
{
    for (tablebaseEntry &entry : tbEntries)
        for (const auto &table : entry.tables)
            if (table != nullptr)
                unmapTb(*table);
    tableHash.clear();
    tbEntries.clear();
    tableDirs.clear();
    tableCardinality = 0u;
}

/// Maps a file and reads its header. False if it no longer exists or, with a message, if it is corrupt.
bool mapTb(tablebaseEntry &entry, tbKind kind)
{
    std::string path;
    std::int64_t size = 0;
    if (!findTbFile(entry.name, kind, path, size))
        return false;
    auto table = std::make_unique<mappedTablebase>();
    unsigned long error = 0;
    bool isSound = false;
    if (isTbFileSize(static_cast<std::uint64_t>(size)))
    {
        const mappingResult result = mapFile(path, table->mapping, &error);
        if (result == mappingResult::notFound)
            return false;
        if (result == mappingResult::failed && isTbFileSize(static_cast<std::uint64_t>(readableFileSize(path))))
        {
            printError(std::string(mappingCall) + " failed, error = " + std::to_string(error) + ".\n");
            printError("Could not map " + entry.name + tbSuffixes[kind] + " into memory.\n");
            std::_Exit(1);
        }
        isSound = result == mappingResult::mapped &&
                  readTbFile(*table, entry.material, kind, table->mapping.data, table->mapping.size) &&
                  !isDamaged(table->mapping);
    }
    if (!isSound)
    {
        printError("Corrupted table.\n");
        unmapTb(*table);
        return false;
    }
    entry.tables[kind] = std::move(table);
    return true;
}

} // namespace

bool initTablebases(const std::string &path)
try
{
    releaseTbs();
    if (path.empty() || path == emptyOptionText)
        return true;
    splitPath(path);
    for (const auto &[firstPieces, secondPieces] : namePatterns)
        registerTbs(firstPieces, secondPieces);
    return true;
}
catch (const std::bad_alloc &)
{
    printError("Out of memory.\n");
    std::_Exit(1);
}

tablebaseEntry *findTb(std::uint64_t signature)
{
    const auto found = tableHash.find(signature);
    return found != tableHash.end() ? found->second : nullptr;
}

const mappedTablebase *openTb(tablebaseEntry &entry, tbKind kind)
{
    tbState state = entry.states[kind].load(std::memory_order_acquire);
    if (state == tbState::untouched)
    {
        const std::lock_guard<std::mutex> lock(firstUseLock);
        state = entry.states[kind].load(std::memory_order_relaxed);
        if (state == tbState::untouched)
        {
            state = mapTb(entry, kind) ? tbState::ready : tbState::broken;
            entry.states[kind].store(state, std::memory_order_release);
        }
    }
    return state == tbState::ready ? entry.tables[kind].get() : nullptr;
}

void disableTb(tablebaseEntry &entry, tbKind kind)
{
    if (entry.states[kind].exchange(tbState::broken, std::memory_order_relaxed) != tbState::ready)
        return;
    printError("Corrupted table.\n");
    if (isDamaged(entry.tables[kind]->mapping))
        printInfo("Tablebase file " + entry.name + tbSuffixes[kind] +
                  " was changed while in use: no longer read until SyzygyPath is set again");
}

} // namespace tarvonel
