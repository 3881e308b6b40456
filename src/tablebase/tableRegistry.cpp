#include "tablebase/tableRegistry.h"

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

namespace tarvonel
{

relaxed<unsigned> tableCardinality = 0u;

namespace
{

constexpr const char *tableSuffixes[tableKindCount] = {".rtbw", ".rtbm", ".rtbz"};
/// Piece letters by pieceType.
constexpr std::string_view tableLetters = "PNBRQK";
/// The men of a table's name, strongest first: no side's letters go upward in this order.
constexpr std::string_view menLetters = "QRBNP";
#ifdef _WIN32
constexpr const char *pathSeparators = ";";
constexpr const char *mappingCall = "MapViewOfFile()";
#else
constexpr const char *pathSeparators = ";:";
constexpr const char *mappingCall = "mmap()";
#endif

std::vector<std::string> tableDirs;
std::deque<tablebaseEntry> tableEntries;
/// By both signatures of a table: as named, and with the sides exchanged.
std::unordered_map<std::uint64_t, tablebaseEntry *> tableHash;
std::mutex tableLock; ///< first use of a file

/// One write each; standard error has no buffer.
void tellError(const std::string &text) { std::fputs(text.c_str(), stderr); }

/// The first file of the name in the directories: its path and size. False if there is none.
bool openTableFile(const std::string &name, tableKind kind, std::string &path, std::int64_t &size)
{
    for (const std::string &directory : tableDirs)
    {
        path = directory;
        path += fileSeparator;
        path += name;
        path += tableSuffixes[kind];
        size = readableFileSize(path);
        if (size >= 0)
            return true;
    }
    return false;
}

void unmapTable(mappedTable &table)
{
    const unsigned long error = unmapFile(table.mapping);
    if (error != 0)
        tellError("unmap failed, error code " + std::to_string(error) + "\n");
}

tableMaterial materialOfName(std::string_view name, std::uint64_t signatures[2])
{
    tableMaterial material;
    int side = 0;
    signatures[0] = signatures[1] = 0;
    for (const char letter : name)
    {
        if (letter == 'v')
        {
            side = 1;
            continue;
        }
        const std::size_t type = tableLetters.find(letter);
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

void registerTable(const std::string &name)
{
    if (!testTableFile(name, wdlKind))
        return;
    std::uint64_t signatures[2];
    tablebaseEntry &entry = tableEntries.emplace_back();
    entry.material = materialOfName(name, signatures);
    entry.signature = signatures[0];
    entry.name = name;
    entry.hasDtm = testTableFile(name, dtmKind);
    entry.hasDtz = testTableFile(name, dtzKind);
    for (const std::uint64_t signature : signatures)
        tableHash[signature] = &entry;
    tableCardinality = std::max<unsigned>(tableCardinality, entry.material.pieces);
}

/// All rows of `count` letters of `menLetters` that never go upward, in the order of the letters.
std::vector<std::string> letterRows(int count)
{
    std::vector<std::string> rows{""};
    for (int i = 0; i < count; ++i)
    {
        std::vector<std::string> longer;
        for (const std::string &row : rows)
            for (std::size_t letter = row.empty() ? 0 : menLetters.find(row.back()); letter < menLetters.size();
                 ++letter)
                longer.push_back(row + menLetters[letter]);
        rows = std::move(longer);
    }
    return rows;
}

/// Offers the names with so many men besides the king on either side. Where the numbers are equal, a
/// combination and its mirror image are offered once.
void registerPattern(int firstMen, int secondMen)
{
    const std::vector<std::string> firstRows = letterRows(firstMen), secondRows = letterRows(secondMen);
    for (std::size_t first = 0; first < firstRows.size(); ++first)
        for (std::size_t second = firstMen == secondMen ? first : 0; second < secondRows.size(); ++second)
            registerTable("K" + firstRows[first] + "vK" + secondRows[second]);
}

/// The order of the search for names: men of both sides besides the kings.
constexpr int namePatterns[][2] = {{1, 0}, {1, 1}, {2, 0}, {2, 1}, {3, 0}, {2, 2},
                                   {3, 1}, {4, 0}, {5, 0}, {4, 1}, {3, 2}};

void splitPath(const std::string &path)
{
    std::size_t start = 0;
    while ((start = path.find_first_not_of(pathSeparators, start)) != std::string::npos)
    {
        const std::size_t end = path.find_first_of(pathSeparators, start);
        tableDirs.push_back(path.substr(start, end - start));
        start = end;
    }
}

void releaseTables()
{
    for (tablebaseEntry &entry : tableEntries)
        for (const auto &table : entry.tables)
            if (table != nullptr)
                unmapTable(*table);
    tableHash.clear();
    tableEntries.clear();
    tableDirs.clear();
    tableCardinality = 0u;
}

/// Maps a file and reads its header. False, with a message, if it is corrupt; false if it has gone.
bool mapTable(tablebaseEntry &entry, tableKind kind)
{
    std::string path;
    std::int64_t size = 0;
    if (!openTableFile(entry.name, kind, path, size))
        return false;
    auto table = std::make_unique<mappedTable>();
    unsigned long error = 0;
    bool sound = false;
    if (isTableSize(static_cast<std::uint64_t>(size)))
    {
        const mappingResult result = mapFile(path, table->mapping, &error);
        if (result == mappingResult::notFound)
            return false;
        if (result == mappingResult::failed && isTableSize(static_cast<std::uint64_t>(readableFileSize(path))))
        {
            tellError(std::string(mappingCall) + " failed, error = " + std::to_string(error) + ".\n");
            tellError("Could not map " + entry.name + tableSuffixes[kind] + " into memory.\n");
            std::_Exit(1);
        }
        sound = result == mappingResult::mapped &&
                readTable(*table, entry.material, kind, table->mapping.data, table->mapping.size) &&
                !isDamaged(table->mapping);
    }
    if (!sound)
    {
        tellError("Corrupted table.\n");
        unmapTable(*table);
        return false;
    }
    entry.tables[kind] = std::move(table);
    return true;
}

} // namespace

bool testTableFile(const std::string &name, tableKind kind)
{
    std::string path;
    std::int64_t size = 0;
    if (!openTableFile(name, kind, path, size))
        return false;
    if (isTableSize(static_cast<std::uint64_t>(size)))
        return true;
    const std::string text = "Incomplete tablebase file " + name + tableSuffixes[kind];
    tellError(text + '\n');
    printInfo(text);
    return false;
}

bool initTablebases(const std::string &path)
try
{
    releaseTables();
    if (path.empty() || path == emptyOptionText)
        return true;
    splitPath(path);
    for (const auto &[firstMen, secondMen] : namePatterns)
        registerPattern(firstMen, secondMen);
    return true;
}
catch (const std::bad_alloc &)
{
    tellError("Out of memory.\n");
    std::_Exit(1);
}

tablebaseEntry *findTable(std::uint64_t signature)
{
    const auto found = tableHash.find(signature);
    return found != tableHash.end() ? found->second : nullptr;
}

const mappedTable *openTable(tablebaseEntry &entry, tableKind kind)
{
    tableState state = entry.states[kind].load(std::memory_order_acquire);
    if (state == tableState::untouched)
    {
        const std::lock_guard<std::mutex> lock(tableLock);
        state = entry.states[kind].load(std::memory_order_relaxed);
        if (state == tableState::untouched)
        {
            state = mapTable(entry, kind) ? tableState::ready : tableState::broken;
            entry.states[kind].store(state, std::memory_order_release);
        }
    }
    return state == tableState::ready ? entry.tables[kind].get() : nullptr;
}

void disableTable(tablebaseEntry &entry, tableKind kind)
{
    if (entry.states[kind].exchange(tableState::broken, std::memory_order_relaxed) != tableState::ready)
        return;
    tellError("Corrupted table.\n");
    if (isDamaged(entry.tables[kind]->mapping))
        printInfo("Tablebase file " + entry.name + tableSuffixes[kind] +
                  " was changed while in use: no longer read until SyzygyPath is set again");
}

} // namespace tarvonel
