#include "loop/learnRun.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

#include "interrupts.h"
#include "match/childProcess.h"
#include "textFile.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr int saveInterval = 60000;          ///< between notes of the time worked
constexpr int printInterval = 60000;         ///< between progress lines that are not on a terminal
constexpr std::uintmax_t fullDisk = 1 << 20; ///< bytes left
constexpr int programInterval = 100;         ///< milliseconds between looks at a running program

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

[[noreturn]] void failProgram(const learnRun &run, const std::string &program, const std::string &how,
                              const std::string &log)
{
    std::error_code unknown;
    const std::filesystem::space_info space = std::filesystem::space(run.folder, unknown);
    const bool isFull = !unknown && space.available < fullDisk;
    throw std::runtime_error(program + " failed (" + how + "): " + lastLine(log) + "; all it said is in " + log +
                             (isFull ? "; the disk is full" : "") + ". Nothing is lost: the same command goes on.");
}

} // namespace

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

void saveTimeNowAndThen(learnRun &run)
{
    if (millisecondsNow() - run.timed > saveInterval)
        saveState(run);
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

void note(learnRun &run, const std::string &text)
{
    const std::string line = localTimeText(logTimeFormat) + "  loop " + std::to_string(run.state.loop) + ": " + text;
    std::printf("%s%s\n", run.showsLine ? "\r\033[K" : "", line.c_str());
    std::fflush(stdout);
    run.showsLine = false;
    appendText(run.path("log.txt"), line + "\n");
}

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

bool runProgram(learnRun &run, const std::string &what, std::vector<std::string> words, const std::string &log,
                const std::function<bool()> &isEnough)
{
    const std::string program = words[0];
    words[0] = run.programs.empty() ? program : run.programs + "/" + program;
    childProcess process;
    startLogged(process, words, "", log);
    bool isAsked = false;
    std::string how;
    while (!awaitEnd(process, programInterval, how))
    {
        if (!isAsked && (interrupted || isEnough()))
        {
            isAsked = true;
            askToEnd(process);
        }
        showProgress(run, what, lastLine(log));
        saveTimeNowAndThen(run);
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

} // namespace tarvonel
