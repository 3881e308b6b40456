#include "loop/loopState.h"

#include <algorithm>
#include <iterator>
#include <sstream>
#include <stdexcept>

#include "atomicFile.h"
#include "textFile.h"

namespace tarvonel
{

namespace
{

loopStage stageNamed(const std::string &name)
{
    const auto *const found = std::ranges::find(stageNames, name);
    if (found == std::end(stageNames))
        throw std::runtime_error("unknown stage " + name);
    return static_cast<loopStage>(found - std::begin(stageNames));
}

void readLine(loopState &state, const std::string &line)
{
    std::istringstream words(line);
    std::string name;
    words >> name;
    if (name == "loop")
        words >> state.loop;
    else if (name == "stage")
    {
        std::string stage;
        words >> stage;
        state.stage = stageNamed(stage);
    }
    else if (name == "run")
        words >> state.run;
    else if (name == "nightOver")
        words >> state.isNightOver;
    else if (name == "nightSeconds")
        words >> state.nightSeconds;
    else if (name == "loopSeconds")
        words >> state.loopSeconds;
    else if (name == "lastLoopSeconds")
        words >> state.lastLoopSeconds;
    else if (name == "gain")
        words >> state.gains.emplace_back();
    else if (name == "elo")
        words >> state.elo;
    else if (name == "positions")
        words >> state.positions;
    else if (name == "games")
    {
        gamesFile &file = state.games.emplace_back();
        words >> file.positions >> file.isInWindow >> std::ws;
        std::getline(words, file.name);
    }
    else
        words.setstate(std::ios::failbit);
    if (!words)
        throw std::runtime_error("damaged line: " + line);
}

} // namespace

loopState readState(const std::string &path)
{
    loopState state;
    try
    {
        for (const std::string &line : readLines(path))
            readLine(state, line);
    }
    catch (const std::runtime_error &error)
    {
        throw std::runtime_error(path + ": " + error.what());
    }
    return state;
}

void writeState(const std::string &path, const loopState &state)
{
    replaceFile(path,
                [&](std::ostream &stream)
                {
                    stream << "loop " << state.loop << "\nstage " << stageNames[static_cast<int>(state.stage)]
                           << "\nrun " << state.run << "\nnightOver " << state.isNightOver << "\nnightSeconds "
                           << state.nightSeconds << "\nloopSeconds " << state.loopSeconds << "\nlastLoopSeconds "
                           << state.lastLoopSeconds << "\nelo " << state.elo << "\npositions " << state.positions
                           << '\n';
                    for (const double gain : state.gains)
                        stream << "gain " << gain << '\n';
                    for (const gamesFile &file : state.games)
                        stream << "games " << file.positions << ' ' << file.isInWindow << ' ' << file.name << '\n';
                });
}

} // namespace tarvonel
