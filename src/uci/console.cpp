#include "uci/console.h"

#include <algorithm>
#include <iterator>
#include <new>
#include <optional>
#include <sstream>
#include <string>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/simd.h"
#include "platform/output.h"
#include "platform/parseText.h"
#include "search/searchLimits.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "tuner/optimiser.h"
#include "uci/commandGuards.h"
#include "uci/commands.h"
#include "uci/consoleInput.h"
#include "uci/goCommand.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

constexpr const char *engineName = "Tarvonel 3.0";
constexpr const char *engineBuild = simd::buildName;
constexpr const char *engineAuthor = "Ostrelund";
constexpr int defaultPerftDepth = 6;
constexpr int defaultTunerThreads = 4;

/// Arguments that a command keeps for its next call.
struct consoleState
{
    int perftDepth = defaultPerftDepth;
    int tunerThreads = defaultTunerThreads;
};

struct commandRow
{
    const char *word;
    void (*run)(std::istream &words, consoleState &state);
};

void stop(std::istream &, consoleState &) { stopSearch = true; }

void ponderHit(std::istream &, consoleState &)
{
    if (timeIsUp)
        stopSearch = true;
    else
        pondering = false;
}

void newGame(std::istream &, consoleState &)
{
    if (!stopTimedSearch("ucinewgame"))
        return;
    ttClear();
    clearWorkerHistory();
    searchLimits.gamePlyHint = 0;
    searchLimits.newGame = true;
    std::ranges::fill(mainPos.keyHistory, 0);
    printLine("readyok");
}

void identify(std::istream &, consoleState &)
{
    std::ostringstream text;
    text << "id name " << engineName << engineBuild << "\nid author " << engineAuthor << '\n'
         << optionAnnouncements() << "uciok\n";
    printText(text.str());
}

void answerReady(std::istream &, consoleState &) { printLine("readyok"); }

/// Reads the next word, if any, as a number into `kept`. Refuses anything but a number in the range, with a
/// message that begins with `need`, and returns false.
bool readKeptNumber(std::istream &words, int &kept, int low, int high, const std::string &need)
{
    std::string word;
    if (!(words >> word))
        return true;
    const std::optional<int> number = wholeNumber<int>(word);
    if (!number || *number < low || *number > high)
    {
        refuse(need + " from " + std::to_string(low) + " to " + std::to_string(high));
        return false;
    }
    kept = *number;
    return true;
}

void runPerft(std::istream &words, consoleState &state)
{
    if (readKeptNumber(words, state.perftDepth, minPerftDepth, maxPerftDepth, "perft needs a depth"))
        perftCommand(state.perftDepth);
}

void runTexel(std::istream &words, consoleState &state)
{
    if (!readKeptNumber(words, state.tunerThreads, minTunerThreads, maxTunerThreads, "texel needs a thread count") ||
        !awaitSearchEnd("texel"))
        return;
    initTables();
    resizeHashTable(engineOptions.hashMegabytes);
    if (!texel(state.tunerThreads, mainPos, printText))
        noteRefusal();
}

void runRtest(std::istream &, consoleState &)
{
    if (awaitSearchEnd("rtest"))
        rtest();
}

void runBench(std::istream &words, consoleState &)
{
    benchSettings settings;
    if (readKeptNumber(words, settings.depth, minBenchDepth, maxBenchDepth, "bench needs a depth") &&
        readKeptNumber(words, settings.threads, minThreads, maxThreads, "bench needs a thread count") &&
        readKeptNumber(words, settings.hashMegabytes, minHashMegabytes, maxHashMegabytes, "bench needs a Hash size") &&
        awaitSearchEnd("bench"))
        bench(settings);
}

void runGenfens(std::istream &words, consoleState &)
{
    if (awaitSearchEnd("genfens"))
        genfensCommand(words);
}

void help(std::istream &, consoleState &)
{
    printText("supported UCI commands 'uci' 'ucinewgame' 'position' 'go' 'ponderhit' 'stop 'quit' 'setoption' "
              "'isready'\n"
              "other commands 'perft depth', default depth=6, change board with 'position'; 'showboard' shows the "
              "current board\n");
}

constexpr commandRow commandTable[] = {
    {quitWord, stop},
    {"stop", stop},
    {"position", [](std::istream &words, consoleState &) { positionCommand(words); }},
    {"go", [](std::istream &words, consoleState &) { goCommand(words); }},
    {"ponderhit", ponderHit},
    {"ucinewgame", newGame},
    {"uci", identify},
    {"setoption", [](std::istream &words, consoleState &) { setOptionCommand(words); }},
    {"isready", answerReady},
    {"rtest", runRtest},
    {"rtestQTV", [](std::istream &, consoleState &) { rtestQTV(); }},
    {"perft", runPerft},
    {"texel", runTexel},
    {"bench", runBench},
    {"genfens", runGenfens},
    {"showboard", [](std::istream &, consoleState &) { showBoard(); }},
    {"evil", [](std::istream &, consoleState &) { printEvaluation(); }},
    {"hashstats", [](std::istream &, consoleState &) { hashStatistics(); }},
    {"help", help},
};

bool tryStartWorkers()
{
    try
    {
        return rebuildWorkerPool(engineOptions.threadCount) > 0;
    }
    catch (const std::bad_alloc &)
    {
        return false;
    }
}

/// Starts the threads. Halves the TT until there is memory for the boss.
void startWorkers()
{
    while (!tryStartWorkers())
    {
        const auto megabytes = static_cast<int>((ttMask + 1) / ttClustersPerMegabyte);
        if (megabytes == 1)
            throw std::bad_alloc();
        ttResize(megabytes / 2);
        printSmallerTable(engineOptions.hashMegabytes);
    }
}

void startUp(const consoleSetup &setup)
{
    printText(std::string(engineName) + engineBuild + "\nby " + engineAuthor +
              "\n\nenter 'help' to see the commands\n");
    reporter = setup.reports;
    nodeLimitHolds = setup.obeysNodes;
    initTables();
    resizeHashTable(engineOptions.hashMegabytes);
    useNetFile();
    setupPosition(startPositionFen, mainPos);
    startWorkers();
}

void shutDown()
{
    rebuildWorkerPool(0);
    ttRelease();
}

/// Runs the command of a line. Returns whether it was `quit`.
bool runLine(const std::string &text, consoleState &state)
{
    std::istringstream words(text);
    std::string word;
    words >> word;
    const auto *row = std::ranges::find_if(commandTable, [&word](const commandRow &r) { return word == r.word; });
    if (row != std::end(commandTable))
        row->run(words, state);
    else
    {
        printText("Unknown command\n");
        noteRefusal();
    }
    return word == quitWord;
}

void dropLine(const std::string &beginning)
{
    std::string message = "Line of more than " + std::to_string(maxLineBytes);
    message += " bytes dropped";
    std::string word;
    std::istringstream(beginning) >> word;
    if (word == "position")
        refusePosition(message);
    else
        refuse(message);
}

void runLines(std::istream &input, consoleState &state)
{
    consoleInput lines(input);
    for (bool isOver = false; !isOver;)
    {
        const inputLine line = lines.nextLine();
        try
        {
            if (line.isDropped)
                dropLine(line.text);
            else
                isOver = runLine(line.text, state);
        }
        catch (const std::bad_alloc &)
        {
            printText("info string Not enough memory for this command\n"); // needs no memory
        }
    }
}

std::string joined(std::span<char *> words)
{
    std::string text;
    for (const char *word : words)
        text += std::string(word) + ' ';
    return text;
}

} // namespace

int runConsole(std::istream &input, std::span<char *> words, const consoleSetup &setup)
{
    bool isRefused = false;
    try
    {
        consoleState state;
        startUp(setup);
        takeRefusal(); // a missing network is not a refused command
        if (words.empty())
            runLines(input, state);
        else
        {
            runLine(joined(words), state);
            isRefused = takeRefusal();
        }
    }
    catch (const std::bad_alloc &)
    {
        stopSearch = true;
        printText("info string Not enough memory to go on\n"); // needs no memory
        isRefused = true;
    }
    shutDown();
    return isRefused || (!words.empty() && isOutputLost()) ? 1 : 0;
}

} // namespace tarvonel
