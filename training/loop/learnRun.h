// A run of `learn`: its options, its folder, the log and the progress line, and the programs that it starts.
//
// Threads: one.
#pragma once

#include <cstdint>
#include <filesystem>
#include <functional>
#include <string>
#include <vector>

#include "loop/loopState.h"
#include "platform/clock.h"

namespace tarvonel
{

inline constexpr const char *logTimeFormat = "%Y-%m-%d %H:%M:%S"; ///< of `localTimeText`

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
    int cores = 1;
    std::int64_t seed = 1;
    bool playsNot = false;
    std::string playWords =
        "--hash 2 --soft-nodes 170 --hard-nodes 1200 --unsuitable-nodes 20 --rescore-share 0.15 --rescore-nodes 1500";
    std::string trainWords =
        "--levels base,region,mirror --epochs 1 --batch 1024 --learning-rate 0.00005 --final-learning-rate 0.00001 "
        "--warm-up 100 --weight-decay 0.01 --first-ply 12";
    std::string matchWords = "--nodes 1000";
};

struct learnRun
{
    const learnPlan &plan;
    std::filesystem::path folder;
    std::string programs; ///< directory of the programs; empty: in the search path
    loopState state;
    std::int64_t timed = millisecondsNow(); ///< up to when the time worked is in the state
    bool showsLine = false;                 ///< a progress line is on the terminal
    std::int64_t printed = 0;

    std::string path(const std::string &name) const { return folder / name; }
    std::filesystem::path loopFolder() const { return folder / "loops" / std::to_string(state.loop); }
    std::string inLoop(const std::string &name) const { return loopFolder() / name; }
    std::string runName(int run, const char *ending) const { return inLoop("run" + std::to_string(run) + ending); }
};

/// Adds the time since the last call to the state.
void countTime(learnRun &run);

/// Writes the state with the time worked. Throws std::runtime_error if it cannot.
void saveState(learnRun &run);

/// The same once a minute; called again and again while a stage waits.
void saveTimeNowAndThen(learnRun &run);

/// Of the night, in seconds; negative when it is over.
double secondsLeft(const learnRun &run);
std::string timeLeftText(const learnRun &run);

/// Prints a line and adds it to the log.
void note(learnRun &run, const std::string &text);

/// One line that is renewed in place on a terminal, and printed now and then elsewhere.
void showProgress(learnRun &run, const std::string &what, const std::string &detail);

/// Runs a program, the first of `words`, to its end, or until `isEnough`, which is asked ten times a
/// second. Its output goes to `log`. False after an interrupt. Throws std::runtime_error if it fails.
bool runProgram(
    learnRun &run, const std::string &what, std::vector<std::string> words, const std::string &log,
    const std::function<bool()> &isEnough = [] { return false; });

} // namespace tarvonel
