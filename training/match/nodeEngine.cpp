// An engine that obeys "go nodes N" to within some 50 nodes, for matches in which neither clock nor machine
// matters. It knows as much of the protocol as `match` speaks.
#include <cstdio>
#include <iostream>
#include <sstream>
#include <string>

#include "board/attackTables.h"
#include "board/moveText.h"
#include "board/setup.h"
#include "commandLine.h"
#include "eval/evaluate.h"
#include "games/selfSearch.h"
#include "platform/output.h"
#include "uci/netFile.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

namespace tarvonel
{

namespace
{

constexpr int hashMegabytes = 16;
constexpr std::uint64_t defaultNodes = 10000;

const programOption nodeEngineOptions[] = {
    {"--hand-set", "", "the hand-set evaluation everywhere"},
    {"--help", "", "this text"},
};

/// The number behind "nodes"; whatever else a `go` asks for is not known here.
std::uint64_t nodesAsked(std::istream &words)
{
    std::uint64_t nodes = 0;
    for (std::string word; words >> word;)
    {
        if (word == "nodes" && !(words >> nodes))
        {
            break;
        }
    }
    return nodes > 0 ? nodes : defaultNodes;
}

void answerGo(std::istream &words)
{
    const std::uint64_t nodes = nodesAsked(words);
    const searchedMove found = searchMove(mainPos, {nodes, nodes});
    printLine("info score cp " + std::to_string(found.score) + " depth " + std::to_string(found.depth) + " nodes " +
              std::to_string(found.nodes));
    printLine("bestmove " + moveText(found.move, mainPos.sideToMove, mainPos));
}

/// False once the line was "quit".
bool answerLine(const std::string &line)
{
    std::istringstream words(line);
    std::string command;
    words >> command;
    if (command == "uci")
    {
        printText("id name nodeEngine\n" + optionAnnouncements() + "uciok\n");
    }
    else if (command == "isready")
    {
        printLine("readyok");
    }
    else if (command == "ucinewgame")
    {
        forgetSearches();
    }
    else if (command == "setoption")
    {
        setOptionCommand(words);
    }
    else if (command == "position")
    {
        positionCommand(words);
    }
    else if (command == "go")
    {
        answerGo(words);
    }
    return command != "quit";
}

int nodeEngineMain(int wordCount, char **words)
{
    const commandLine given = readCommandLine(wordCount, words, nodeEngineOptions);
    if (isGiven(given, "--help"))
    {
        std::printf("%s",
                    usageText("nodeEngine [options]", "A UCI engine that plays by numbers of nodes.", nodeEngineOptions)
                        .c_str());
        return 0;
    }
    if (!given.error.empty())
    {
        std::fprintf(stderr, "nodeEngine: %s\n", given.error.c_str());
        return 2;
    }
    if (isGiven(given, "--hand-set"))
    {
        networkLimit = 0;
    }
    initTables();
    setupPosition(startPositionFen, mainPos);
    startSelfSearch(hashMegabytes);
    useNetFile();
    for (std::string line; std::getline(std::cin, line) && answerLine(line);)
    {
    }
    endSelfSearch();
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv) { return tarvonel::nodeEngineMain(argc, argv); }
