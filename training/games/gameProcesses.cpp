#include "games/gameProcesses.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <stdexcept>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <vector>

#include "interrupts.h"
#include "platform/clock.h"

namespace tarvonel
{

namespace
{

constexpr int reportInterval = 10000; ///< milliseconds

/// A child process from its start to its exit status.
int runProcess(const char *program, const std::string &out, gameProcess &process,
               const std::function<void(gameProcess &)> &work)
{
    try
    {
        openForAppending(process.writer, out + "." + std::to_string(process.number));
        process.tally->games = process.writer.summary.games;
        process.tally->positions = process.writer.summary.positions;
        work(process);
        closeWriter(process.writer);
        return EXIT_SUCCESS;
    }
    catch (const std::exception &error)
    {
        std::cerr << std::string(program) + ": " + error.what() + "\n";
        return EXIT_FAILURE;
    }
}

void printTotals(int count, const processTally *tallies, std::int64_t elapsed)
{
    std::uint64_t games = 0;
    std::uint64_t positions = 0;
    std::uint64_t newScores = 0;
    for (int i = 0; i < count; ++i)
    {
        games += tallies[i].games;
        positions += tallies[i].positions;
        newScores += tallies[i].newScores;
    }
    const auto milliseconds = static_cast<std::uint64_t>(std::max<std::int64_t>(elapsed, 1));
    std::cout << games << " games, " << positions << " positions, " << newScores * 1000 / milliseconds << " scores/s\n"
              << std::flush;
}

/// Waits for the processes and prints their progress. Returns 1 if one failed.
int superviseProcesses(const char *program, std::vector<pid_t> children, int count, const processTally *tallies)
{
    const std::int64_t start = millisecondsNow();
    std::int64_t lastReport = start;
    int result = EXIT_SUCCESS;
    bool passedOn = false;
    while (!children.empty())
    {
        int status = 0;
        const pid_t ended = waitpid(-1, &status, WNOHANG);
        if (ended > 0)
        {
            std::erase(children, ended);
            if (!WIFEXITED(status) || WEXITSTATUS(status) != 0)
            {
                std::cerr << program << ": a process failed (status " << status << ")\n";
                result = EXIT_FAILURE;
            }
            continue;
        }
        if (interrupted && !passedOn)
        {
            passedOn = true;
            for (const pid_t child : children)
                kill(child, SIGTERM);
        }
        sleepMilliseconds(20);
        if (millisecondsNow() - lastReport >= reportInterval)
        {
            lastReport = millisecondsNow();
            printTotals(count, tallies, lastReport - start);
        }
    }
    printTotals(count, tallies, millisecondsNow() - start);
    return result;
}

} // namespace

bool mustEnd(const gameProcess &process) { return interrupted || getppid() != process.parent; }

void finishGame(gameProcess &process, const storedGame &game, std::size_t scored)
{
    appendGame(process.writer, game);
    process.tally->games = process.writer.summary.games;
    process.tally->positions = process.writer.summary.positions;
    process.tally->newScores += scored;
}

int runProcesses(const char *program, const std::string &out, int count, const std::function<void(gameProcess &)> &work)
{
    void *shared =
        mmap(nullptr, sizeof(processTally) * mostProcesses, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        throw std::runtime_error("no shared memory");
    auto *tallies = new (shared) processTally[mostProcesses];
    const pid_t parent = getpid();
    std::vector<pid_t> children;
    std::cout.flush(); // or each child would print it again
    for (int number = 0; number < count; ++number)
    {
        const pid_t child = fork();
        if (child == 0) // `exit` also writes the counts of a profiled build
        {
            gameProcess process{number, parent, {}, &tallies[number]};
            std::exit(runProcess(program, out, process, work));
        }
        if (child < 0)
        {
            std::cerr << program << ": only " << children.size() << " processes could be started\n";
            break;
        }
        children.push_back(child);
    }
    return children.empty() ? EXIT_FAILURE : superviseProcesses(program, children, count, tallies);
}

} // namespace tarvonel
