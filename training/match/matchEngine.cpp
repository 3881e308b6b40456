#include "match/matchEngine.h"

#include <algorithm>
#include <stdexcept>

#include "platform/clock.h"
#include "platform/parseText.h"
#include "search/score.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr std::int64_t startPatience = 30000; ///< to load a network and clear a large table, milliseconds
constexpr std::int64_t stopPatience = 5000;   ///< from "stop" to "bestmove"
constexpr int endGrace = 2000;
constexpr std::size_t keptLines = 20;
constexpr std::int64_t mostMateMoves = 10000;
constexpr std::int64_t highestDepth = 10000;
static_assert(2 * mostMateMoves < scoreMate);

void keepLine(matchEngine &engine, const std::string &line)
{
    engine.lastLines.push_back(line);
    if (engine.lastLines.size() > keptLines)
        engine.lastLines.pop_front();
}

bool send(matchEngine &engine, const std::string &line)
{
    keepLine(engine, "> " + line);
    return sendLine(engine.process, line);
}

lineResult receive(matchEngine &engine, std::string &line, std::int64_t deadline)
{
    const lineResult result = receiveLine(engine.process, line, deadline);
    if (result == lineResult::read)
        keepLine(engine, "< " + line);
    return result;
}

/// Sends a line and waits for the one that answers it.
bool exchange(matchEngine &engine, const std::string &question, const std::string &reply)
{
    if (!send(engine, question))
        return false;
    const std::int64_t deadline = millisecondsNow() + startPatience;
    for (std::string line; receive(engine, line, deadline) == lineResult::read;)
        if (line == reply)
            return true;
    return false;
}

int mateScore(std::int64_t moves)
{
    const int bounded = static_cast<int>(std::clamp(moves, -mostMateMoves, mostMateMoves));
    return bounded > 0 ? scoreMate - (2 * bounded - 1) : -scoreMate - 2 * bounded;
}

} // namespace

void startEngine(matchEngine &engine)
{
    const engineSettings &settings = *engine.settings;
    engine.lastLines.clear();
    startProcess(engine.process, settings.command, settings.directory);
    bool alive = exchange(engine, "uci", "uciok");
    if (settings.chess960)
        alive = alive && send(engine, "setoption name UCI_Chess960 value true");
    for (const std::string &option : settings.options)
    {
        const std::size_t sign = option.find('=');
        alive = alive && send(engine, "setoption name " + option.substr(0, sign) + " value " + option.substr(sign + 1));
    }
    if (!alive || !exchange(engine, "isready", "readyok"))
        throw std::runtime_error(settings.name + " does not answer \"uci\" and \"isready\"; it ended with " +
                                 stopEngine(engine));
}

bool prepareGame(matchEngine &engine)
{
    engine.lastLines.clear();
    return send(engine, "ucinewgame") && exchange(engine, "isready", "readyok");
}

void readReport(const std::string &line, engineAnswer &answer)
{
    const std::vector<std::string> words = splitWords(line);
    for (std::size_t i = 1; i + 1 < words.size() && words[i] != "pv" && words[i] != "string"; ++i)
    {
        const bool isScore = words[i] == "score" && i + 2 < words.size();
        const std::optional<std::int64_t> value = leadingNumber<std::int64_t>(words[isScore ? i + 2 : i + 1]);
        if (!value)
            continue;
        if (isScore)
            answer.score = words[i + 1] == "mate"
                               ? mateScore(*value)
                               : static_cast<int>(std::clamp<std::int64_t>(*value, -scoreMate, scoreMate));
        else if (words[i] == "depth")
            answer.depth = static_cast<int>(std::clamp<std::int64_t>(*value, 0, highestDepth));
        else if (words[i] == "nodes")
            answer.nodes = static_cast<std::uint64_t>(std::max<std::int64_t>(*value, 0));
    }
}

engineAnswer askForMove(matchEngine &engine, const std::string &positionLine, const std::string &goLine,
                        std::uint64_t nodeLimit, std::int64_t patience)
{
    engineAnswer answer;
    if (!send(engine, positionLine))
    {
        answer.kind = answerKind::ended;
        return answer;
    }
    const std::int64_t start = millisecondsNow();
    std::int64_t deadline = start + patience;
    bool stopped = !send(engine, goLine);
    for (std::string line;;)
    {
        const lineResult result = receive(engine, line, deadline);
        answer.milliseconds = millisecondsNow() - start;
        if (result != lineResult::read)
        {
            answer.kind = result == lineResult::ended ? answerKind::ended : answerKind::silent;
            return answer;
        }
        if (line.starts_with("info "))
        {
            readReport(line, answer);
            if (nodeLimit > 0 && answer.nodes >= nodeLimit && !stopped)
            {
                stopped = true;
                send(engine, "stop");
                deadline = millisecondsNow() + stopPatience;
            }
        }
        else if (line.starts_with("bestmove"))
        {
            const std::vector<std::string> words = splitWords(line);
            answer.kind = answerKind::move;
            answer.move = words.size() > 1 ? words[1] : "";
            return answer;
        }
    }
}

std::vector<std::string> askForLines(matchEngine &engine, const std::string &question, const std::string &prefix,
                                     std::size_t count, std::int64_t patience)
{
    std::vector<std::string> found;
    send(engine, question);
    for (std::string line; found.size() < count;)
    {
        if (receive(engine, line, millisecondsNow() + patience) != lineResult::read)
            throw std::runtime_error(engine.settings->name + " does not answer \"" + question + "\"");
        if (line.starts_with(prefix))
            found.push_back(line.substr(prefix.size()));
    }
    return found;
}

std::string stopEngine(matchEngine &engine)
{
    if (engine.process.processId >= 0)
        sendLine(engine.process, "quit");
    return endProcess(engine.process, endGrace);
}

} // namespace tarvonel
