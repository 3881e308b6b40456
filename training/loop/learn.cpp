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

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <stdexcept>
#include <string>
#include <sys/file.h>
#include <utility>
#include <vector>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "loop/learnRun.h"
#include "loop/stages.h"
#include "platform/clock.h"
#include "programMain.h"

namespace tarvonel
{

namespace
{

namespace fs = std::filesystem;

constexpr double smallGain = 10;    ///< Elo; less in two loops together ends the night
constexpr int lockPatience = 10000; ///< for programs of a killed `learn` to end

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
    learnRun run{plan, fs::absolute(plan.folder), programDirectory, {}};
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
        if (!runStage(run))
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
    plan.cores = tarvonel::coreCount();
    return tarvonel::programMain(
        argc, argv, "Makes a better network: plays, trains, averages, matches and promotes in a loop.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::learn(plan); });
}
