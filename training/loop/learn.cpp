// Plays, trains, averages, matches and promotes in a loop: a better network by one command.
//
// The folder of a loop:
//
//   best.nnue      the best network so far
//   games/         files of games, this machine's loopN.0, loopN.1, ... and any that others write
//   loops/N/       logs, networks, openings' results of loop N; candidate.nnue is what was matched
//   log.txt        what happened, for people; loops.tsv the same for programs; progress.svg its chart
//   state          where the loop is
//   lock           held while a `learn` works here; work.lock, while a program that it started does
//
// A stage is repeated or gone on with until it is complete, and only then the state names the next
// one. So every stage can be ended at any moment: selfplay and match go on from their own files,
// train from its last checkpoint, and the others write their result in one piece.

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <functional>
#include <iterator>
#include <optional>
#include <regex>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <unistd.h>
#include <utility>
#include <vector>

#include "atomicFile.h"
#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "loop/gameFolder.h"
#include "loop/loopState.h"
#include "loop/loopTable.h"
#include "match/childProcess.h"
#include "match/matchRun.h"
#include "platform/clock.h"
#include "programMain.h"
#include "textFile.h"
#include "words.h"

namespace tarvonel
{

namespace
{

namespace fs = std::filesystem;

constexpr double smallGain = 10;             ///< Elo; less in two loops together ends the night
constexpr double largestGain = 800;          ///< in place of infinity, when all games are won
constexpr double firstPlayShare = 0.75;      ///< of the night, at most, when no loop has been timed yet
constexpr int watchInterval = 100;           ///< milliseconds
constexpr int countInterval = 5000;          ///< between looks at the games
constexpr int saveInterval = 60000;          ///< between notes of the time worked
constexpr int printInterval = 60000;         ///< between progress lines that are not on a terminal
constexpr int lockPatience = 10000;          ///< for programs of a killed `learn` to end
constexpr std::uintmax_t fullDisk = 1 << 20; ///< bytes left

struct learnPlan
{
    std::string folder = "learning";
    std::string network;
    double hours = 8;
    int loops = 0; ///< 0: no limit
    std::uint64_t positions = 30'000'000;
    std::uint64_t window = 150'000'000;
    int runs = 2;
    std::int64_t games = 10'000;
    int cores = coreCount();
    std::int64_t seed = 1;
    bool playsNot = false;
    std::string playWords = "--hash 2 --soft-nodes 150 --hard-nodes 1200";
    std::string trainWords =
        "--levels base,region,mirror --epochs 1 --learning-rate 0.0003 --final-learning-rate 0.00001 "
        "--warm-up 1000 --weight-decay 0.01 --l1-penalty 0.00001";
    std::string matchWords = "--nodes 1000";
};

void declareOptions(CLI::App &app, learnPlan &plan)
{
    app.add_option("--folder", plan.folder, "where all files of the loop are; the same folder goes on");
    app.add_option("--net", plan.network, "network that a new folder begins with; the default network if not given");
    app.add_option("--hours", plan.hours, "begins no loop that would not end in this time")->check(numberFrom(0, 1e5));
    app.add_option("--loops", plan.loops, "ends after that many loops; 0 for no limit")->check(numberFrom(0, 1e6));
    app.add_option("--positions", plan.positions, "new positions for each loop")->check(numberFrom(1, 1e12));
    app.add_option("--window", plan.window, "newest positions to train on")->check(numberFrom(1, 4e9));
    app.add_option("--runs", plan.runs, "training runs in each loop, of which the mean is matched")
        ->check(numberFrom(1, 100));
    app.add_option("--games", plan.games, "games of each match")->check(numberFrom(2, 1e8));
    app.add_option("--cores", plan.cores, "processes or threads of each stage")->check(numberFrom(1, 256));
    app.add_option("--seed", plan.seed, "of self-play and training; another one on each machine")
        ->check(numberFrom(0, 900));
    app.add_flag("--no-play", plan.playsNot, "plays no games: waits for those that other machines write");
    app.add_option("--play", plan.playWords, "options of selfplay, as one word");
    app.add_option("--train", plan.trainWords, "options of train");
    app.add_option("--match", plan.matchWords, "options of match");
}

struct learnRun
{
    const learnPlan &plan;
    fs::path folder;
    loopState state;
    std::int64_t timed = millisecondsNow(); ///< up to when the time worked is in the state
    bool showsLine = false;                 ///< a progress line is on the terminal
    std::int64_t printed = 0;

    std::string path(const std::string &name) const { return folder / name; }
    fs::path loopFolder() const { return folder / "loops" / std::to_string(state.loop); }
    std::string inLoop(const std::string &name) const { return loopFolder() / name; }
    std::string runName(int run, const char *ending) const { return inLoop("run" + std::to_string(run) + ending); }
};

// --- time, log, progress ---

void countTime(learnRun &run)
{
    const std::int64_t now = millisecondsNow();
    const double seconds = static_cast<double>(now - run.timed) / 1000;
    run.timed = now;
    run.state.nightSeconds += seconds;
    if (run.state.stage != loopStage::play)
        run.state.loopSeconds += seconds;
}

void saveState(learnRun &run)
{
    countTime(run);
    writeState(run.path("state"), run.state);
}

double secondsLeft(const learnRun &run)
{
    const double unsaved = static_cast<double>(millisecondsNow() - run.timed) / 1000;
    return run.plan.hours * 3600 - run.state.nightSeconds - unsaved;
}

std::string timeLeftText(const learnRun &run)
{
    const int minutes = std::max(0, static_cast<int>(std::ceil(secondsLeft(run) / 60)));
    return std::to_string(minutes / 60) + " h " + std::to_string(minutes % 60) + " min left";
}

std::string nowText()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y-%m-%d %H:%M:%S", &parts);
    return text;
}

void note(learnRun &run, const std::string &text)
{
    const std::string line = nowText() + "  loop " + std::to_string(run.state.loop) + ": " + text;
    std::printf("%s%s\n", run.showsLine ? "\r\033[K" : "", line.c_str());
    std::fflush(stdout);
    run.showsLine = false;
    appendText(run.path("log.txt"), line + "\n");
}

/// One line that is renewed in place on a terminal, and printed now and then elsewhere.
void showProgress(learnRun &run, const std::string &what, const std::string &detail)
{
    const std::int64_t now = millisecondsNow();
    const bool isTerminal = isatty(STDOUT_FILENO) != 0;
    if (now - run.printed < (isTerminal ? 1000 : printInterval))
        return;
    run.printed = now;
    std::string line =
        "loop " + std::to_string(run.state.loop) + ", " + what + " | " + detail + " | " + timeLeftText(run);
    std::printf(isTerminal ? "\r\033[K%s" : "%s\n", line.c_str());
    std::fflush(stdout);
    run.showsLine = isTerminal;
}

std::string lastLine(const std::string &file)
{
    constexpr std::streamoff tail = 1000;
    std::ifstream stream(file, std::ios::ate);
    stream.seekg(std::max<std::streamoff>(0, stream.tellg() - tail));
    std::string last;
    for (std::string line; std::getline(stream, line);)
        if (!line.empty())
            last = line;
    return last;
}

// --- programs ---

std::string programPath(const std::string &name)
{
    return programDirectory.empty() ? name : programDirectory + "/" + name;
}

[[noreturn]] void failProgram(const learnRun &run, const std::string &program, const std::string &how,
                              const std::string &log)
{
    std::error_code unknown;
    const fs::space_info space = fs::space(run.folder, unknown);
    const bool isFull = !unknown && space.available < fullDisk;
    throw std::runtime_error(program + " failed (" + how + "): " + lastLine(log) + "; all it said is in " + log +
                             (isFull ? "; the disk is full" : "") + ". Nothing is lost: the same command goes on.");
}

/// Runs a program of the loop to its end, or until `isEnough`. False after an interrupt.
bool runProgram(
    learnRun &run, const std::string &what, std::vector<std::string> words, const std::string &log,
    const std::function<bool()> &isEnough = [] { return false; })
{
    const std::string program = words[0];
    words[0] = programPath(program);
    childProcess process;
    startLogged(process, words, "", log);
    bool isAsked = false;
    std::string how;
    while (!awaitEnd(process, watchInterval, how))
    {
        if (!isAsked && (interrupted || isEnough()))
        {
            isAsked = true;
            askToEnd(process);
        }
        showProgress(run, what, lastLine(log));
        if (millisecondsNow() - run.timed > saveInterval)
            saveState(run);
    }
    if (interrupted)
        return false;
    if (isAsked)
        return true;
    if (program == "match" && how == "exit code 3")
        note(run, "games were lost by faults: " + run.inLoop("faults"));
    else if (how != "exit code 0")
        failProgram(run, program, how, log);
    return true;
}

void addWords(std::vector<std::string> &words, const std::string &options)
{
    for (const std::string &word : splitWords(options))
        words.push_back(word);
}

/// Another one for each loop; those of its training runs follow.
std::int64_t loopSeed(const learnRun &run) { return (run.plan.seed * 10'000 + run.state.loop) * 100; }

// --- stages: each returns false after an interrupt, and otherwise is complete ---

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
        if (millisecondsNow() - run.timed > saveInterval)
            saveState(run);
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
    for (; run.state.run <= run.plan.runs; ++run.state.run, saveState(run))
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
        const bool isTrained = printedError(log, "after epoch") && fs::exists(run.runName(number, ".nnue"));
        const std::string what = "training " + std::to_string(number) + " of " + std::to_string(run.plan.runs);
        if (!isTrained && !runProgram(run, what, words, log))
            return false;
        const std::optional<double> error = printedError(log, "after epoch");
        if (!error)
            throw std::runtime_error("train ended early, see " + log + "; the same command goes on");
        note(run, what + ": validation error " + std::to_string(*error));
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

void copyWhole(const std::string &from, const std::string &to)
{
    std::ifstream stream(from, std::ios::binary);
    const std::string bytes{std::istreambuf_iterator<char>(stream), {}};
    if (!stream || bytes.empty())
        throw std::runtime_error("cannot read " + from);
    replaceFile(to, [&](std::ostream &out) { out.write(bytes.data(), static_cast<std::streamsize>(bytes.size())); });
}

loopRow judgeLoop(const learnRun &run)
{
    const auto points = readTally(run.inLoop("tally"));
    const eloEstimate estimate = estimateElo(tallyOf(points));
    loopRow row{.loop = run.state.loop,
                .finished = nowText(),
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

/// Moves the state on from a complete stage and saves it.
void advance(learnRun &run)
{
    loopState &state = run.state;
    countTime(run);
    if (state.stage != loopStage::promote)
    {
        state.stage = static_cast<loopStage>(static_cast<int>(state.stage) + 1);
        state.run = 1;
    }
    else
    {
        state.lastLoopSeconds = std::exchange(state.loopSeconds, 0);
        state.stage = loopStage::play;
        ++state.loop;
    }
    saveState(run);
}

/// Why no further loop begins; empty if one does.
std::string reasonToEnd(const learnRun &run)
{
    const std::vector<double> &gains = run.state.gains;
    if (run.plan.loops > 0 && static_cast<int>(gains.size()) >= run.plan.loops)
        return "all loops are done";
    if (gains.size() >= 2 && gains.back() + gains[gains.size() - 2] < smallGain)
        return "two loops together gained less than 10 Elo";
    if (!gains.empty() && secondsLeft(run) < 2 * run.state.lastLoopSeconds)
        return "the time is over";
    return {};
}

// --- the folder ---

/// Holds a lock on a file until the process and all that inherit it have ended.
void lockFile(const std::string &path, int flags, int patience, const std::string &message)
{
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | flags, 0666);
    if (descriptor < 0)
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(errno));
    const std::int64_t deadline = millisecondsNow() + patience;
    while (flock(descriptor, LOCK_EX | LOCK_NB) != 0)
    {
        if (millisecondsNow() >= deadline)
            throw std::runtime_error(message);
        sleepMilliseconds(20);
    }
}

std::string firstNetwork(const learnPlan &plan)
{
    if (!plan.network.empty())
        return plan.network;
    const std::string built = programDirectory + "/../" + defaultNetFileName;
    return fs::exists(built) ? built : defaultNetFileName;
}

void openFolder(learnRun &run)
{
    fs::create_directories(run.folder / "games");
    lockFile(run.path("lock"), O_CLOEXEC, 0, "another learn works in " + run.folder.string());
    lockFile(run.path("work.lock"), 0, lockPatience,
             "a program that an earlier learn started still works in " + run.folder.string());
    if (!fs::exists(run.path("best.nnue")))
    {
        const std::string network = firstNetwork(run.plan);
        if (!loadNetFile(network))
            throw std::runtime_error(network + " is not a network");
        copyWhole(network, run.path("best.nnue"));
    }
    run.state = readState(run.path("state"));
    if (run.state.isNightOver)
    {
        run.state.isNightOver = false;
        run.state.nightSeconds = 0;
        run.state.gains.clear();
    }
}

int learn(const learnPlan &plan)
{
    learnRun run{plan, fs::absolute(plan.folder), {}};
    watchForInterrupts();
    openFolder(run);
    saveState(run);
    note(run, "begins with the stage \"" + std::string(stageNames[static_cast<int>(run.state.stage)]) + "\", " +
                  timeLeftText(run));
    for (;;)
    {
        if (run.state.stage == loopStage::play)
        {
            const std::string reason = reasonToEnd(run);
            if (!reason.empty())
            {
                run.state.isNightOver = true;
                saveState(run);
                note(run, "end: " + reason + "; the best network is " + run.path("best.nnue"));
                return 0;
            }
        }
        fs::create_directories(run.loopFolder());
        if (!stageFunctions[static_cast<int>(run.state.stage)](run))
        {
            saveState(run);
            note(run, "interrupted; the same command goes on");
            return 0;
        }
        advance(run);
    }
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::learnPlan plan;
    return tarvonel::programMain(
        argc, argv, "Makes a better network: plays, trains, averages, matches and promotes in a loop.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::learn(plan); });
}
