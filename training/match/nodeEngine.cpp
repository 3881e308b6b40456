// An engine that obeys "go nodes N" to within some hundred nodes, for matches in which neither clock
// nor machine matters. It knows as much of the protocol as `match` speaks.
#include <iostream>
#include <sstream>
#include <string>

#include "board/moveText.h"
#include "board/setup.h"
#include "eval/evaluate.h"
#include "games/selfSearch.h"
#include "platform/output.h"
#include "programMain.h"
#include "search/worker.h"
#include "uci/netFile.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

namespace tarvonel
{

namespace
{

constexpr int hashMegabytes = 16;
constexpr std::uint64_t defaultNodes = 10000;

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
    const searchResult found = runSearch(mainPos, {.softNodes = nodes, .hardNodes = nodes});
    printLine("info score cp " + std::to_string(found.score) + " depth " + std::to_string(found.depth) + " nodes " +
              std::to_string(found.nodes));
    printLine("bestmove " + moveText(found.best, mainPos.sideToMove, mainPos));
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

int runEngine(bool handSet)
{
    if (handSet)
        networkLimit = 0;
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

int main(int argc, char **argv)
{
    bool handSet = false;
    return tarvonel::programMain(
        argc, argv, "A UCI engine that plays by numbers of nodes.",
        [&](CLI::App &app) { app.add_flag("--hand-set", handSet, "the hand-set evaluation everywhere"); },
        [&] { return tarvonel::runEngine(handSet); });
}
