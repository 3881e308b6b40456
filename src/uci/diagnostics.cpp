#include "uci/commands.h"

#include <algorithm>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "movegen/legality.h"
#include "platform/clock.h"
#include "platform/fileMapping.h"
#include "platform/output.h"
#include "platform/parseText.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/commandGuards.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

constexpr int rtestHashMegabytes = 128;
constexpr std::size_t rtestFields = 3;
constexpr int qtvDepths = 6;
constexpr std::size_t qtvLabelLength = 3; ///< "D1 " before a count

struct timedCount
{
    std::uint64_t nodes;
    std::int64_t nanoseconds;
};

timedCount timedPerft(int depth, pos &position)
{
    const std::int64_t start = nanosecondsNow();
    const std::uint64_t nodes = perft(0, depth, position);
    return {nodes, nanosecondsNow() - start};
}

/// The lines of a file; nothing if it cannot be opened.
std::optional<std::vector<std::string>> readLines(const std::string &path)
{
    if (readableFileSize(path) < 0)
        return std::nullopt;
    std::ifstream file(path);
    std::vector<std::string> lines;
    for (std::string line; std::getline(file, line);)
    {
        if (line.ends_with('\r'))
            line.pop_back();
        lines.push_back(line);
    }
    return lines;
}

bool isMarker(const std::string &line) { return line == "extended" || line == "full"; }

// Both check a line. They return whether its counts are right, or nothing if it cannot be read.

std::optional<bool> checkRtestLine(const std::string &line, pos &position)
{
    const std::vector<std::string_view> fields = splitFields(line, ';');
    if (fields.size() < rtestFields)
        return std::nullopt;
    const std::string fen(fields[0]);
    const std::optional<int> depth = wholeNumber<int>(firstWord(fields[1]));
    const std::optional<std::uint64_t> expected = wholeNumber<std::uint64_t>(firstWord(fields[2]));
    if (!depth || !expected || *depth < minPerftDepth || *depth > maxPerftDepth ||
        !setupPlayablePosition(fen, position).empty())
        return std::nullopt;
    const timedCount count = timedPerft(*depth, position);
    const bool isRight = count.nodes == *expected;
    printLine(std::to_string(isRight) + "; " + fen + "; " + std::to_string(*depth) + "; " + std::to_string(*expected) +
              "; " + std::to_string(count.nodes) + "; " + std::to_string(count.nanoseconds));
    resizeHashTable(rtestHashMegabytes);
    return isRight;
}

// The first wrong depth ends the line.
std::optional<bool> checkQtvLine(const std::string &line, pos &position)
{
    const std::vector<std::string_view> fields = splitFields(line, ';');
    if (fields.size() < 1 + qtvDepths)
        return std::nullopt;
    std::uint64_t counts[qtvDepths];
    for (std::size_t i = 0; i < qtvDepths; ++i)
    {
        const std::string_view field = fields[i + 1].substr(std::min(qtvLabelLength, fields[i + 1].size()));
        const std::optional<std::uint64_t> count = wholeNumber<std::uint64_t>(firstWord(field));
        if (!count)
            return std::nullopt;
        counts[i] = *count;
    }
    const std::string fen(fields[0]);
    if (!setupPlayablePosition(fen, position).empty())
        return std::nullopt;
    printLine(fen);
    for (int depth = 1; depth <= qtvDepths; ++depth)
    {
        const std::uint64_t expected = counts[depth - 1];
        const std::uint64_t nodes = perft(0, depth, position);
        if (nodes != expected)
        {
            printLine("WRONGGGGGGGGGGGG " + std::to_string(depth) + " correct : " + std::to_string(expected) +
                      " berekend : " + std::to_string(nodes));
            return false;
        }
    }
    printLine("Okidoki");
    return true;
}

/// Checks the file line by line, up to one that cannot be read. Prints `head` and the result, which it
/// also returns; 0 if there is no file.
int checkFile(const std::string &path, bool hasMarkers, const char *head,
              std::optional<bool> (*checkLine)(const std::string &line, pos &position))
{
    const auto lines = readLines(path);
    if (!lines)
    {
        printText("There seems to be a problem with the perftFile. check of the move generator not executed\n");
        noteRefusal();
        return 0;
    }
    const auto position = std::make_unique<pos>(mainPos);
    bool isAllGood = true;
    for (const std::string &line : *lines)
    {
        if (hasMarkers && isMarker(line))
            break;
        if (line.empty())
            continue;
        const std::optional<bool> isRight = checkLine(line, *position);
        isAllGood &= isRight.value_or(false);
        if (!isRight)
        {
            printInfo("The perftFile has a line that cannot be read: " + line);
            break;
        }
    }
    printLine(head + std::to_string(isAllGood));
    if (!isAllGood)
        noteRefusal();
    return isAllGood;
}

constexpr int ttDepths = 128;

struct ttTally
{
    std::uint64_t total = 0;
    std::uint64_t used = 0;
    std::uint64_t withMove = 0;
    std::uint64_t byBound[boundExact + 1] = {};
    std::uint64_t byAge[ttAges] = {};
    std::uint64_t byDepth[ttDepths] = {};
};

void tallyEntry(ttEntry entry, ttTally &tally)
{
    constexpr int ageAndBoundShift = 56;
    if (entry.word >> ageAndBoundShift == 0)
        return;
    ++tally.used;
    ++tally.byBound[entry.bound()];
    ++tally.byAge[entry.age()];
    ++tally.byDepth[std::max(entry.depth(), 0)];
    tally.withMove += entry.move() != noMove;
}

ttTally tallyTable()
{
    ttTally tally;
    for (std::uint64_t cluster = 0; cluster <= ttMask; ++cluster)
        for (const relaxed<std::uint64_t> &word : ttTable[cluster].data)
            tallyEntry(ttEntry{word}, tally);
    tally.total = (ttMask + 1) * ttSlots;
    tally.used = std::max<std::uint64_t>(tally.used, 1);
    return tally;
}

std::string boundRow(std::uint64_t upper, std::uint64_t lower, std::uint64_t exact)
{
    return std::to_string(upper) + "\t - " + std::to_string(lower) + "\t - " + std::to_string(exact) + '\n';
}

template <std::size_t Rows> std::string distribution(const std::uint64_t (&counts)[Rows], const ttTally &tally)
{
    std::string lines;
    for (std::size_t row = 0; row < Rows; ++row)
        lines += std::to_string(row) + "  " + std::to_string(counts[row]) + " - " +
                 std::to_string(counts[row] * 100 / tally.used) + " - " +
                 std::to_string(counts[row] * 100 / tally.total) + '\n';
    return lines;
}

} // namespace

void perftCommand(int depth)
{
    if (!isMainPositionPlayable())
        return;
    const auto position = std::make_unique<pos>(mainPos);
    printText(boardText(*position));
    const timedCount count = timedPerft(depth, *position);
    constexpr double nanosecondsPerSecond = 1e9;
    const double seconds = static_cast<double>(count.nanoseconds) / nanosecondsPerSecond;
    std::ostringstream report;
    report << count.nanoseconds << " ns and " << seconds << " in seconds\nPerft results for depth: " << depth << "  "
           << count.nodes << "  Nodes per sec: " << static_cast<double>(count.nodes) / seconds << '\n';
    printText(report.str());
}

int rtest(const std::string &path)
{
    return checkFile(path, true, "Results of the perft checks is OK: ", checkRtestLine);
}

int rtestQTV(const std::string &path)
{
    return checkFile(path, false, "Results of the perft checks (0 = wrong, 1 = OK) : ", checkQtvLine);
}

void showBoard() { printText(boardText(mainPos)); }

void printEvaluation()
{
    if (!awaitSearchEnd("evil") || !isMainPositionPlayable())
        return;
    theBoss().adopt(mainPos);
    pos &position = theBoss().position;
    refreshSums(position);
    printLine("Evaluation : " + std::to_string(evaluate(0, position)));
}

void hashStatistics()
{
    const ttTally tally = tallyTable();
    const std::uint64_t upper = tally.byBound[boundUpper], lower = tally.byBound[boundLower],
                        exact = tally.byBound[boundExact];
    std::string report = "Size of info : pos structure : " + std::to_string(sizeof(pos)) +
                         " posinfo structure : " + std::to_string(sizeof(posinfo)) + '\n';
    report += "Hash Statistics \nNumber of entries " + std::to_string(tally.total) + '\n';
    report += "Used entries " + std::to_string(tally.used) + '\n';
    report += "Type of entries UPPER - LOWER - EXACT " + boundRow(upper, lower, exact);
    report += "Percentage of entries UPPER - LOWER - EXACT " +
              boundRow(upper * 100 / tally.used, lower * 100 / tally.used, exact * 100 / tally.used);
    report += "Number of Hashmoves " + std::to_string(tally.withMove) + '\n';
    report += "Age distribution nof - prcused - prctotal\n" + distribution(tally.byAge, tally);
    report += "Depth distribution \n" + distribution(tally.byDepth, tally);
    printText(report);
}

} // namespace tarvonel
