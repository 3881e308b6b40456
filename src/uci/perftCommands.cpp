#include "uci/perftCommands.h"

#include <algorithm>
#include <cstdint>
#include <fstream>
#include <memory>
#include <optional>
#include <sstream>
#include <vector>

#include "board/setup.h"
#include "movegen/perft.h"
#include "platform/clock.h"
#include "platform/fileMapping.h"
#include "platform/output.h"
#include "platform/parseNumber.h"
#include "uci/commandGuards.h"
#include "uci/options.h"

namespace tarvonel
{
namespace
{

constexpr int rtestHashMegabytes = 128;
constexpr std::size_t rtestFields = 3;
constexpr int qtvDepths = 6;
constexpr std::size_t qtvLabelLength = 3; ///< "D1 " in front of a count

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

/// The lines of the file without their ends; nothing if it cannot be opened.
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

bool reportBadLine(const std::string &line)
{
    printInfo("The perftFile has a line that cannot be read: " + line);
    return false;
}

bool isMarker(const std::string &line) { return line == "extended" || line == "full"; }

/// Reads the file and hands each line to `checkLine`, which clears `isAllGood` at a wrong count and
/// returns false at a line that it cannot read. Returns nothing if there is no file.
template <typename Check> std::optional<bool> checkFile(const std::string &path, bool hasMarkers, Check checkLine)
{
    const auto lines = readLines(path);
    if (!lines)
    {
        printText("There seems to be a problem with the perftFile. check of the move generator not executed\n");
        return std::nullopt;
    }
    bool isAllGood = true;
    for (const std::string &line : *lines)
    {
        if (hasMarkers && isMarker(line))
            break;
        if (!line.empty() && !checkLine(line, isAllGood))
            return reportBadLine(line);
    }
    return isAllGood;
}

bool checkRtestLine(const std::string &line, pos &position, bool &isAllGood)
{
    const std::optional<rtestLine> test = readRtestLine(line);
    if (!test || !setupPlayablePosition(test->fen, position).empty())
        return false;
    const timedCount count = timedPerft(test->depth, position);
    const bool isRight = count.nodes == test->expected;
    isAllGood &= isRight;
    printLine(std::to_string(isRight) + "; " + test->fen + "; " + std::to_string(test->depth) + "; " +
              std::to_string(test->expected) + "; " + std::to_string(count.nodes) + "; " +
              std::to_string(count.nanoseconds));
    resizeHashTable(rtestHashMegabytes);
    return true;
}

// The first wrong depth ends the line.
bool checkQtvLine(const std::string &line, pos &position, bool &isAllGood)
{
    const std::optional<qtvLine> test = readQtvLine(line);
    if (!test || !setupPlayablePosition(test->fen, position).empty())
        return false;
    printLine(test->fen);
    for (int depth = 1; depth <= qtvDepths; ++depth)
    {
        const std::uint64_t expected = test->expected[depth - 1];
        const std::uint64_t nodes = perft(0, depth, position);
        if (nodes != expected)
        {
            printLine("WRONGGGGGGGGGGGG " + std::to_string(depth) + " correct : " + std::to_string(expected) +
                      " berekend : " + std::to_string(nodes));
            isAllGood = false;
            return true;
        }
    }
    printLine("Okidoki");
    return true;
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
    const auto position = std::make_unique<pos>(mainPos);
    const auto isAllGood = checkFile(
        path, true, [&position](const std::string &line, bool &good) { return checkRtestLine(line, *position, good); });
    if (!isAllGood)
        return 0;
    printLine("Results of the perft checks is OK: " + std::to_string(*isAllGood));
    return *isAllGood;
}

int rtestQTV(const std::string &path)
{
    const auto position = std::make_unique<pos>(mainPos);
    const auto isAllGood = checkFile(
        path, false, [&position](const std::string &line, bool &good) { return checkQtvLine(line, *position, good); });
    if (!isAllGood)
        return 0;
    printLine("Results of the perft checks (0 = wrong, 1 = OK) : " + std::to_string(*isAllGood));
    return *isAllGood;
}

} // namespace tarvonel
