// Which positions of test suites the engine solves with a number of nodes, one thread and nothing
// remembered: the same on every machine and in every build, with the network in the working directory.
//
//   tarvonelSuites NODES FILE...
//
// A file's lines are a FEN text, a semicolon and "NAME VALUE;" in any order: `id`, and what solves
// the position, `ubm` the moves, `uam` the moves that do not, `dm` a mate in so many moves.
// Prints for each: suite, id, "+" or "-", the move and the score, with tabs between.
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iostream>
#include <map>
#include <sstream>
#include <string>

#include "board/attackTables.h"
#include "board/moveCode.h"
#include "board/setup.h"
#include "eval/networkFile.h"
#include "platform/parseText.h"
#include "search/score.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

using namespace tarvonel;

namespace
{

constexpr int hashMegabytes = 16;

using nameAndValue = std::map<std::string, std::string>;

nameAndValue readTasks(const std::string &text)
{
    nameAndValue tasks;
    std::istringstream fields(text);
    for (std::string field; std::getline(fields, field, ';');)
    {
        std::string name, value;
        std::istringstream words(field);
        std::getline(words >> name >> std::ws, value);
        std::erase(value, '"');
        tasks[name] = value;
    }
    return tasks;
}

bool hasWord(const std::string &text, const std::string &word)
{
    return (' ' + text + ' ').find(' ' + word + ' ') != std::string::npos;
}

bool isSolved(const nameAndValue &tasks, const std::string &move, int score)
{
    const auto value = [&tasks](const char *name)
    {
        const auto found = tasks.find(name);
        return found == tasks.end() ? std::string() : found->second;
    };
    if (const std::optional<int> mateIn = wholeNumber<int>(value("dm")))
        return score >= scoreMate - (2 * *mateIn - 1);
    const std::string wanted = value("ubm");
    return (wanted.empty() || hasWord(wanted, move)) && !hasWord(value("uam"), move);
}

/// The file's name without its ending is the suite's.
bool searchSuite(const std::string &path, std::uint64_t nodes)
{
    std::ifstream file(path);
    for (std::string line; std::getline(file, line);)
    {
        const std::size_t fenEnd = line.find(';');
        const std::string fault = setupPosition(line.substr(0, fenEnd), mainPos);
        if (!fault.empty())
        {
            std::cerr << path << ": " << fault << ": " << line << '\n';
            return false;
        }
        nameAndValue tasks = readTasks(line.substr(std::min(fenEnd, line.size())));
        ttClear();
        clearWorkerHistory();
        clearEvaluationCaches();
        const searchResult found = runSearch(mainPos, {.softNodes = nodes, .hardNodes = nodes});
        const std::string move = moveText(found.best, mainPos.sideToMove, mainPos);
        std::cout << std::filesystem::path(path).stem().string() << '\t' << tasks["id"] << '\t'
                  << (isSolved(tasks, move, found.score) ? '+' : '-') << '\t' << move << '\t' << found.score << '\n';
    }
    return file.eof();
}

} // namespace

int main(int argc, char **argv)
{
    const auto nodes = argc > 2 ? wholeNumber<std::uint64_t>(argv[1]).value_or(0) : 0;
    if (nodes == 0)
    {
        std::cerr << "usage: tarvonelSuites NODES FILE...\n";
        return EXIT_FAILURE;
    }
    initTables();
    const searchResources resources(1, hashMegabytes);
    useNetFile();
    bool isRead = netLoaded;
    for (int i = 2; i < argc && isRead; ++i)
        isRead = searchSuite(argv[i], nodes);
    return isRead ? EXIT_SUCCESS : EXIT_FAILURE;
}
