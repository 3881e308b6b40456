#include "uci/options.h"

#include <algorithm>
#include <optional>
#include <string_view>
#include <variant>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/networkFile.h"
#include "platform/output.h"
#include "platform/parseText.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "tablebase/tbRegistry.h"
#include "uci/commandGuards.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

/// Replaces the workers by `count` new ones, or as many as the system allows.
void rebuildThreads(int count)
{
    engineOptions.threadCount = rebuildWorkerPool(count);
    if (engineOptions.threadCount < count)
        printInfo("Only " + std::to_string(engineOptions.threadCount) + " threads could be started");
}

void setThreads(int count)
{
    if (!awaitSearchEnd("setoption name Threads"))
        return;
    rebuildThreads(count);
    printInfo("Number of threads set to : " + std::to_string(engineOptions.threadCount));
}

void setHash(int megabytes)
{
    if (!awaitSearchEnd("setoption name Hash"))
        return;
    engineOptions.hashMegabytes = megabytes;
    ttResize(megabytes);
    printInfo("Size of Hashtable set to : " + std::to_string(megabytes));
    printSmallerTable(megabytes);
}

void setPonder(bool isOn)
{
    engineOptions.ponderEnabled = isOn;
    printInfo("Ponder set to : " + std::to_string(isOn));
}

void setMoveOverhead(int milliseconds)
{
    engineOptions.moveOverhead = milliseconds;
    printInfo("MoveOverhead set to : " + std::to_string(milliseconds));
}

void setSyzygyPath(const std::string &path)
{
    if (!awaitSearchEnd("setoption name SyzygyPath"))
        return;
    engineOptions.syzygyPath = path;
    if (initTablebases(path) && tableCardinality > 0)
        printInfo("Syzygy tablebases used from directory : " + path);
    else
        refuse("No Syzygy tablebases found in directory :" + path);
}

void setSyzygyProbeDepth(int depth)
{
    engineOptions.syzygyProbeDepth = depth;
    printInfo("SyzygyProbeDepth set to: " + std::to_string(depth));
}

void setNumaNode(int node)
{
    const bool isChange = node != engineOptions.numaNode;
    if (isChange && !awaitSearchEnd("setoption name WindowsNumaNode"))
        return;
    engineOptions.numaNode = node;
    if (isChange)
        rebuildThreads(engineOptions.threadCount);
    printInfo("WindowsNumaNode set to: " + std::to_string(node));
}

// If the value names no file, the current network stays in use.
void setNetFile(const std::string &name)
{
    const bool isFile = !name.empty() && name != emptyOptionText;
    if (isFile && !awaitSearchEnd("setoption name NetFile"))
        return;
    engineOptions.netFileName = name;
    if (!isFile)
        return;
    useNetFile();
    if (netLoaded)
        printInfo("NetFile used : " + name);
}

// Drops castling rights that are invalid under the new rules.
void setChess960(bool isOn)
{
    if (!awaitSearchEnd("setoption name UCI_Chess960"))
        return;
    engineOptions.chess960 = isOn;
    if (isPlayable(mainPos))
        dropInvalidRights(mainPos);
    printInfo("UCI_Chess960 set to : " + std::to_string(isOn));
}

struct spinOption
{
    int preset, minimum, maximum;
    void (*set)(int value);
};
struct checkOption
{
    void (*set)(bool value);
};
struct textOption
{
    void (*set)(const std::string &value);
};
struct optionRow
{
    std::string_view name;
    std::variant<spinOption, checkOption, textOption> kind;
};

/// In the order in which `uci` announces them. Check options default to false, string options to empty.
constexpr optionRow optionTable[] = {
    {"Threads", spinOption{defaultThreads, minThreads, maxThreads, setThreads}},
    {"Hash", spinOption{defaultHashMegabytes, minHashMegabytes, maxHashMegabytes, setHash}},
    {"Ponder", checkOption{setPonder}},
    {"MoveOverhead", spinOption{defaultMoveOverhead, minMoveOverhead, maxMoveOverhead, setMoveOverhead}},
    {"SyzygyPath", textOption{setSyzygyPath}},
    {"SyzygyProbeDepth",
     spinOption{defaultSyzygyProbeDepth, minSyzygyProbeDepth, maxSyzygyProbeDepth, setSyzygyProbeDepth}},
    {"WindowsNumaNode", spinOption{defaultNumaNode, minNumaNode, maxNumaNode, setNumaNode}},
    {"NetFile", textOption{setNetFile}},
    {"UCI_Chess960", checkOption{setChess960}},
};

void setValue(const optionRow &row, const std::string &value)
{
    if (const auto *spin = std::get_if<spinOption>(&row.kind))
    {
        if (const std::optional<int> number = leadingNumber<int>(value))
            spin->set(std::clamp(*number, spin->minimum, spin->maximum));
        else
            refuse(std::string(row.name) + " needs a number, got: " + value);
    }
    else if (const auto *check = std::get_if<checkOption>(&row.kind))
        check->set(value == "true");
    else
        std::get<textOption>(row.kind).set(value);
}

std::string kindText(const optionRow &row)
{
    if (const auto *spin = std::get_if<spinOption>(&row.kind))
        return "spin default " + std::to_string(spin->preset) + " min " + std::to_string(spin->minimum) + " max " +
               std::to_string(spin->maximum);
    if (std::holds_alternative<checkOption>(row.kind))
        return "check default false";
    return std::string("string default ") + emptyOptionText;
}

} // namespace

std::string optionAnnouncements()
{
    std::string lines;
    for (const optionRow &row : optionTable)
        lines += "option name " + std::string(row.name) + " type " + kindText(row) + '\n';
    return lines;
}

void resizeHashTable(int megabytes)
{
    ttResize(megabytes);
    printSmallerTable(megabytes);
}

void printSmallerTable(int megabytes)
{
    const std::uint64_t taken = (ttMask + 1) / ttClustersPerMegabyte;
    if (taken < static_cast<std::uint64_t>(megabytes))
        printInfo("Not enough memory for that Hashtable, size taken : " + std::to_string(taken));
}

void setOptionCommand(std::istream &words)
{
    std::string ignored;
    words >> ignored;
    const std::string name = joinWords(words, "value");
    const std::string value = joinWords(words, "");
    const auto *row = std::ranges::find(optionTable, name, &optionRow::name);
    if (row != std::end(optionTable))
        setValue(*row, value);
}

void useNetFile()
{
    if (loadNetFile(engineOptions.netFileName))
        printLine("Net read");
    clearEvaluationCaches();
    if (!netLoaded)
        refuseWithoutNetwork("a position");
}

void refuseWithoutNetwork(const char *what)
{
    refuse("NetFile not found/correct: " + engineOptions.netFileName + ". Unable to calculate the best move for " +
           what + ".");
}

} // namespace tarvonel
