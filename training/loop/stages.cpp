#include "loop/stages.h"

#include <algorithm>
#include <cstdio>
#include <fstream>
#include <iterator>
#include <optional>
#include <regex>
#include <stdexcept>
#include <vector>

#include "atomicFile.h"
#include "interrupts.h"
#include "loop/gameFolder.h"
#include "loop/loopTable.h"
#include "match/matchRun.h"
#include "textFile.h"
#include "words.h"

namespace tarvonel
{

namespace
{

namespace fs = std::filesystem;

constexpr double largestGain = 800;     ///< in place of infinity, when all games are won
constexpr double firstPlayShare = 0.75; ///< of the night, at most, when no loop has been timed yet
constexpr int watchInterval = 100;      ///< milliseconds
constexpr int countInterval = 5000;     ///< between looks at the games

void addWords(std::vector<std::string> &words, const std::string &options)
{
    for (const std::string &word : splitWords(options))
        words.push_back(word);
}

/// Another one for each loop; those of its training runs follow.
std::int64_t loopSeed(const learnRun &run) { return (run.plan.seed * 10'000 + run.state.loop) * 100; }

// The stages return false after an interrupt and are complete otherwise.

/// Whether the play stage has to end for the rest of the loop to end in time.
bool isPlayTimeOver(const learnRun &run)
{
    const double rest =
        run.state.lastLoopSeconds > 0 ? run.state.lastLoopSeconds : (1 - firstPlayShare) * run.plan.hours * 3600;
    return secondsLeft(run) < rest;
}

bool hasEnoughGames(const learnRun &run, gameCounter &counter)
{
    countNewGames(counter);
    return newPositions(counter, run.state.games) >= run.plan.positions;
}

bool waitForGames(learnRun &run, const std::function<bool()> &isEnough)
{
    while (!isEnough() && !interrupted)
    {
        showProgress(run, "waiting for games", "");
        sleepMilliseconds(watchInterval);
        saveTimeNowAndThen(run);
    }
    return !interrupted;
}

bool playGames(learnRun &run)
{
    const learnPlan &plan = run.plan;
    gameCounter counter{run.path("games"), {}};
    std::int64_t nextCount = millisecondsNow();
    const auto isEnough = [&]
    {
        if (millisecondsNow() < nextCount)
            return false;
        const bool isFull = hasEnoughGames(run, counter);
        nextCount = millisecondsNow() + countInterval;
        return isFull || (isPlayTimeOver(run) && (plan.playsNot || newPositions(counter, run.state.games) > 0));
    };
    std::vector<std::string> words{"selfplay",
                                   "--net",
                                   run.path("best.nnue"),
                                   "--out",
                                   run.path("games/loop" + std::to_string(run.state.loop)),
                                   "--positions",
                                   std::to_string(plan.positions),
                                   "--processes",
                                   std::to_string(plan.cores),
                                   "--seed",
                                   std::to_string(loopSeed(run))};
    addWords(words, plan.playWords);
    const bool isDone = isEnough()      ? !interrupted
                        : plan.playsNot ? waitForGames(run, isEnough)
                                        : runProgram(run, "playing", words, run.inLoop("selfplay.log"), isEnough);
    if (!isDone)
        return false;
    if (!hasEnoughGames(run, counter) && !isPlayTimeOver(run))
        throw std::runtime_error("selfplay ended early; the same command goes on");
    const std::uint64_t found = newPositions(counter, run.state.games);
    if (found == 0)
        throw std::runtime_error("no new games in " + run.path("games"));
    run.state.positions += found;
    run.state.games = newestFiles(counter, plan.window);
    note(run, std::to_string(found) + " new positions");
    return true;
}

std::uint64_t windowSize(const loopState &state)
{
    std::uint64_t positions = 0;
    for (const gamesFile &file : state.games)
        positions += file.isInWindow ? file.positions : 0;
    return positions;
}

/// Of this machine's own files those that have left the window; other machines keep theirs.
void removeOldGames(const learnRun &run)
{
    for (const gamesFile &file : run.state.games)
        if (!file.isInWindow && file.name.starts_with("loop"))
            fs::remove(run.path("games/" + file.name));
}

/// The validation error that `train` printed last with this beginning; nothing if it did not.
std::optional<double> printedError(const std::string &log, const std::string &beginning)
{
    const std::regex pattern("^" + beginning + ".*: validation error ([0-9.]+).*");
    std::optional<double> error;
    std::smatch match;
    for (const std::string &line : readLines(log))
        if (std::regex_match(line, match, pattern))
            error = std::stod(match[1]);
    return error;
}

bool trainNetworks(learnRun &run)
{
    removeOldGames(run);
    while (run.state.run <= run.plan.runs)
    {
        const int number = run.state.run;
        const std::string checkpoint = run.runName(number, ".checkpoint");
        const std::string log = run.runName(number, ".log");
        std::vector<std::string> words{"train",
                                       "--out",
                                       run.runName(number, ".nnue"),
                                       "--checkpoint",
                                       checkpoint,
                                       "--threads",
                                       std::to_string(run.plan.cores),
                                       "--seed",
                                       std::to_string(loopSeed(run) + number)};
        if (fs::exists(checkpoint))
            words.emplace_back("--resume");
        else
            words.insert(words.end(), {"--from", run.path("best.nnue")});
        addWords(words, run.plan.trainWords);
        for (const gamesFile &file : run.state.games)
            if (file.isInWindow)
                words.push_back(run.path("games/" + file.name));
        const std::string what = "training " + std::to_string(number) + " of " + std::to_string(run.plan.runs);
        if (!runProgram(run, what, words, log)) // a finished run ends at once
            return false;
        const std::optional<double> error = printedError(log, "after epoch");
        if (!error)
            throw std::runtime_error("train ended early, see " + log + "; the same command goes on");
        note(run, what + ": validation error " + std::to_string(*error));
        ++run.state.run;
        saveState(run);
        fs::remove(checkpoint);
    }
    return true;
}

bool averageRuns(learnRun &run)
{
    const std::string candidate = run.inLoop("candidate.nnue");
    if (run.plan.runs == 1)
    {
        if (fs::exists(run.runName(1, ".nnue")))
            fs::rename(run.runName(1, ".nnue"), candidate);
        return true;
    }
    std::vector<std::string> words{"averageNetworks", "--out", candidate};
    for (int number = 1; number <= run.plan.runs; ++number)
        words.push_back(run.runName(number, ".nnue"));
    return runProgram(run, "averaging", words, run.inLoop("average.log"));
}

bool matchNetworks(learnRun &run)
{
    std::vector<std::string> words{"match",
                                   run.inLoop("candidate.nnue"),
                                   run.path("best.nnue"),
                                   "--name1",
                                   "loop" + std::to_string(run.state.loop),
                                   "--name2",
                                   "best",
                                   "--games",
                                   std::to_string(run.plan.games),
                                   "--concurrency",
                                   std::to_string(run.plan.cores),
                                   "--tally",
                                   run.inLoop("tally"),
                                   "--faults",
                                   run.inLoop("faults")};
    addWords(words, run.plan.matchWords);
    return runProgram(run, "matching", words, run.inLoop("match.log"));
}

loopRow judgeLoop(const learnRun &run)
{
    const auto points = readTally(run.inLoop("tally"));
    const eloEstimate estimate = estimateElo(tallyOf(points));
    loopRow row{.loop = run.state.loop,
                .finished = localTimeText(logTimeFormat),
                .hours = run.state.nightSeconds / 3600,
                .positions = run.state.positions,
                .window = windowSize(run.state),
                .games = static_cast<std::int64_t>(points.size()),
                .gain = std::clamp(estimate.elo, -largestGain, largestGain),
                .margin = estimate.margin};
    row.isPromoted = row.gain > row.margin;
    row.elo = run.state.elo + (row.isPromoted ? row.gain : 0);
    for (int number = 1; number <= run.plan.runs; ++number)
    {
        const std::string log = run.runName(number, ".log");
        row.errorBefore += printedError(log, "before").value_or(0) / run.plan.runs;
        row.error += printedError(log, "after epoch").value_or(0) / run.plan.runs;
    }
    return row;
}

std::string verdictText(const loopRow &row)
{
    char text[160];
    std::snprintf(text, sizeof text, "Elo %+.1f +/- %.1f in %lld games: %s; %+.1f over the first network", row.gain,
                  row.margin, static_cast<long long>(row.games), row.isPromoted ? "the new best network" : "not better",
                  row.elo);
    return text;
}

/// Every step can be repeated.
bool promoteNetwork(learnRun &run)
{
    const std::string table = run.path("loops.tsv");
    std::vector<loopRow> rows = readTable(table);
    if (rows.empty() || rows.back().loop != run.state.loop)
    {
        rows.push_back(judgeLoop(run));
        note(run, verdictText(rows.back()));
        appendRow(table, rows.back());
    }
    const loopRow &row = rows.back();
    if (row.isPromoted)
        copyWhole(run.inLoop("candidate.nnue"), run.path("best.nnue"));
    replaceFile(run.path("progress.svg"), [&](std::ostream &stream) { stream << chartText(rows); });
    for (int number = 1; number <= run.plan.runs; ++number)
        fs::remove(run.runName(number, ".nnue"));
    run.state.elo = row.elo;
    run.state.gains.push_back(row.isPromoted ? row.gain : 0);
    return true;
}

constexpr bool (*stageFunctions[])(learnRun &) = {playGames, trainNetworks, averageRuns, matchNetworks, promoteNetwork};

} // namespace

bool runStage(learnRun &run) { return stageFunctions[static_cast<int>(run.state.stage)](run); }

void copyWhole(const std::string &from, const std::string &to)
{
    std::ifstream stream(from, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream || bytes.empty())
        throw std::runtime_error("cannot read " + from);
    replaceFile(to, [&](std::ostream &out) { out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())); });
}

} // namespace tarvonel
