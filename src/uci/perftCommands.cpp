#include "uci/perftCommands.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "board/setup.h"
#include "movegen/legality.h"
#include "platform/clock.h"
#include "platform/fileMapping.h"
#include "platform/output.h"
#include "platform/parseNumber.h"
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

/// The lines of the file; nothing if it cannot be opened.
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

std::vector<std::string> splitFields(const std::string &line)
{
    std::vector<std::string> fields;
    std::istringstream stream(line);
    for (std::string field; std::getline(stream, field, ';');)
        fields.push_back(field);
    return fields;
}

std::string firstWord(const std::string &text)
{
    std::string word;
    std::istringstream(text) >> word;
    return word;
}

struct rtestLine
{
    std::string fen;
    int depth;
    std::uint64_t expected;
};

std::optional<rtestLine> readRtestLine(const std::string &line)
{
    const std::vector<std::string> fields = splitFields(line);
    if (fields.size() < rtestFields)
        return std::nullopt;
    const std::optional<int> depth = wholeNumber<int>(firstWord(fields[1]));
    const std::optional<std::uint64_t> expected = wholeNumber<std::uint64_t>(firstWord(fields[2]));
    if (!depth || !expected || *depth < minPerftDepth || *depth > maxPerftDepth)
        return std::nullopt;
    return rtestLine{fields[0], *depth, *expected};
}

struct qtvLine
{
    std::string fen;
    std::uint64_t expected[qtvDepths];
};

std::optional<qtvLine> readQtvLine(const std::string &line)
{
    const std::vector<std::string> fields = splitFields(line);
    if (fields.size() < 1 + qtvDepths)
        return std::nullopt;
    qtvLine result{fields[0], {}};
    for (std::size_t i = 0; i < qtvDepths; ++i)
    {
        const std::string &field = fields[i + 1];
        const std::optional<std::uint64_t> expected =
            wholeNumber<std::uint64_t>(firstWord(field.substr(std::min(qtvLabelLength, field.size()))));
        if (!expected)
            return std::nullopt;
        result.expected[i] = *expected;
    }
    return result;
}

bool isMarker(const std::string &line) { return line == "extended" || line == "full"; }

// Both check a line: whether its counts are right; nothing if it cannot be read.

std::optional<bool> checkRtestLine(const std::string &line, pos &position)
{
    const std::optional<rtestLine> test = readRtestLine(line);
    if (!test || !setupPlayablePosition(test->fen, position).empty())
        return std::nullopt;
    const timedCount count = timedPerft(test->depth, position);
    const bool isRight = count.nodes == test->expected;
    printLine(std::to_string(isRight) + "; " + test->fen + "; " + std::to_string(test->depth) + "; " +
              std::to_string(test->expected) + "; " + std::to_string(count.nodes) + "; " +
              std::to_string(count.nanoseconds));
    resizeHashTable(rtestHashMegabytes);
    return isRight;
}

// The first wrong depth ends the line.
std::optional<bool> checkQtvLine(const std::string &line, pos &position)
{
    const std::optional<qtvLine> test = readQtvLine(line);
    if (!test || !setupPlayablePosition(test->fen, position).empty())
        return std::nullopt;
    printLine(test->fen);
    for (int depth = 1; depth <= qtvDepths; ++depth)
    {
        const std::uint64_t expected = test->expected[depth - 1];
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

/// Checks the file line by line, up to one that cannot be read. Prints `head` with the result and
/// returns the result; without a file it is 0.
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

} // namespace tarvonel
