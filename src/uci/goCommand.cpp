#include "uci/goCommand.h"

#include <optional>
#include <string>

#include "board/moveCode.h"
#include "eval/evaluate.h"
#include "eval/networkFile.h"
#include "platform/clock.h"
#include "platform/output.h"
#include "platform/parseText.h"
#include "search/searchLimits.h"
#include "search/worker.h"
#include "uci/commandGuards.h"
#include "uci/options.h"
#include "uci/positionCommand.h"

namespace tarvonel
{
namespace
{

constexpr int defaultClock = 900000;
constexpr int defaultMovesToGo = 30;

/// Keeps the values that are set once per game.
void resetLimits(std::int64_t startTimeMs)
{
    pondering = false;
    searchLimits = {.startTimeMs = startTimeMs,
                    .incrementFactor = searchLimits.incrementFactor,
                    .clock = {defaultClock, defaultClock},
                    .movesToGo = defaultMovesToGo,
                    .gamePlyHint = searchLimits.gamePlyHint,
                    .newGame = searchLimits.newGame};
}

/// Reads a number into `field`, saturated to its range. A word that is not a number gives 0 and makes the
/// stream fail. At the end of the line `field` keeps its value.
template <typename T> void readNumber(std::istream &words, T &field)
{
    std::string word;
    if (!(words >> word))
        return;
    const std::optional<T> number = leadingNumber<T>(word);
    field = number.value_or(0);
    if (!number)
        words.setstate(std::ios::failbit);
}

void readLimits(std::istream &words)
{
    struct numberWord
    {
        const char *word;
        int *field;
    };
    static constexpr numberWord numberWords[] = {
        {"wtime", &searchLimits.clock[white]},    {"btime", &searchLimits.clock[black]},
        {"winc", &searchLimits.increment[white]}, {"binc", &searchLimits.increment[black]},
        {"movestogo", &searchLimits.movesToGo},   {"depth", &searchLimits.depthLimit},
        {"mate", &searchLimits.mateLimit},        {"movetime", &searchLimits.moveTime},
    };
    std::string word;
    while (words >> word)
    {
        if (word == "ponder")
            pondering = true;
        else if (word == "infinite")
            searchLimits.infinite = true;
        else if (word == "nodes")
            readNumber(words, searchLimits.nodes);
        for (const numberWord &row : numberWords)
            if (word == row.word)
                readNumber(words, *row.field);
        if (word == "movestogo")
            searchLimits.movesToGoGiven = true;
    }
}

/// A controller expects an answer to every `go`.
void answerWithoutSearch() { printLine("bestmove " + moveText(noMove, mainPos.sideToMove, mainPos)); }

} // namespace

void prepareSearchLimits(std::istream &words, std::int64_t startTimeMs)
{
    resetLimits(startTimeMs);
    readLimits(words);
    allotTime();
}

void goCommand(std::istream &words)
{
    if (!netLoaded && networkLimit > 0)
        return refuseWithoutNetwork("the position");
    const std::int64_t startTimeMs = millisecondsNow();
    if (!awaitSearchEnd("go"))
        return;
    prepareSearchLimits(words, startTimeMs);
    if (!theBoss().isStarted()) // the search would run on this thread and could not be stopped
        searchLimits.infinite = pondering = false;
    if (!isMainPositionPlayable())
        answerWithoutSearch();
    else if (nodeLimitHolds && searchLimits.nodes > 0)
        runSearch(mainPos, {.softNodes = searchLimits.nodes, .hardNodes = searchLimits.nodes});
    else
        startSearch(mainPos);
}

} // namespace tarvonel
