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
#include "platform/output.h"
#include "platform/parseNumber.h"
#include "search/searchLimits.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "tuner/optimiser.h"
#include "uci/benchCommand.h"
#include "uci/commandGuards.h"
#include "uci/diagnostics.h"
#include "uci/engineVersion.h"
#include "uci/genfensCommand.h"
#include "uci/goCommand.h"
#include "uci/netFile.h"
#include "uci/options.h"
#include "uci/perftCommands.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

constexpr int defaultPerftDepth = 6;
constexpr int defaultTunerThreads = 4;

/// What the console keeps from one command to the next.
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
    if (!awaitSearchEnd("ucinewgame"))
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
    printText(std::string("id name ") + engineName + engineBuild + "\nid author " + engineAuthor + "\n" +
              optionAnnouncements() + "uciok\n");
}

void answerReady(std::istream &, consoleState &) { printLine("readyok"); }

/// Reads the next word, a number, into `kept`, which stays as it is if no word is left. If the word
/// is anything but a number of that range, says so, beginning with `need`, and returns false.
bool readKeptNumber(std::istream &words, int &kept, int low, int high, const std::string &need)
{
    std::string word;
    if (!(words >> word))
        return true;
    const std::optional<int> number = wholeNumber<int>(word);
    if (!number || *number < low || *number > high)
    {
        printInfo(need + " from " + std::to_string(low) + " to " + std::to_string(high));
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

/// Starts from fresh tables, the transposition table included.
void runTexel(std::istream &words, consoleState &state)
{
    if (!readKeptNumber(words, state.tunerThreads, minTunerThreads, maxTunerThreads, "texel needs a thread count") ||
        !awaitSearchEnd("texel"))
        return;
    initTables();
    resizeHashTable(engineOptions.hashMegabytes);
    texel(state.tunerThreads, mainPos, printText);
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

constexpr const char *quitWord = "quit";

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

bool areWorkersGranted()
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

/// Where the table has left too little memory for the boss, a smaller one makes room for it.
void startWorkers()
{
    while (!areWorkersGranted())
    {
        const auto megabytes = static_cast<int>((ttMask + 1) / ttClustersPerMegabyte);
        if (megabytes == 1)
            throw std::bad_alloc();
        ttResize(megabytes / 2);
        tellSmallerTable(engineOptions.hashMegabytes);
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

/// Runs the command of the line; returns whether it was `quit`.
bool runLine(const std::string &text, consoleState &state)
{
    std::istringstream words(text);
    std::string word;
    words >> word;
    const auto *row = std::ranges::find_if(commandTable, [&word](const commandRow &r) { return word == r.word; });
    if (row == std::end(commandTable))
        printText("Unknown command\n");
    else
        row->run(words, state);
    return word == quitWord;
}

void runLines(std::istream &input, consoleState &state)
{
    std::string text;
    do
        if (!std::getline(input, text))
            text = quitWord;
    while (!runLine(text, state));
}

/// Each word followed by a blank.
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
    int status = 0;
    try
    {
        consoleState state;
        startUp(setup);
        if (words.empty())
            runLines(input, state);
        else
            runLine(joined(words), state);
    }
    catch (const std::bad_alloc &)
    {
        stopSearch = true;
        printText("info string Not enough memory to go on\n"); // takes none itself
        status = 1;
    }
    shutDown();
    return status;
}

} // namespace tarvonel
