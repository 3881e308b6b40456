// Plays games of the engine against itself on all cores and writes them, scored, to files.
//
// The search belongs to its process, so each core has a process of its own, and each process a
// file of its own: OUT.0, OUT.1 and so on. The processes tell what they have done in shared memory.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <memory>
#include <string>
#include <sys/mman.h>
#include <sys/wait.h>
#include <thread>
#include <unistd.h>
#include <vector>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "commandLine.h"
#include "eval/evaluate.h"
#include "eval/networkFile.h"
#include "games/gameFile.h"
#include "games/selfGame.h"
#include "platform/clock.h"

namespace tarvonel
{

namespace
{

const programOption selfplayOptions[] = {
    {"--out", "FILE", "games go to FILE.0, FILE.1, ..., one for each process (games)"},
    {"--positions", "N", "goes on until the files hold so many positions (1000000)"},
    {"--processes", "N", "processes (all of the machine's cores)"},
    {"--net", "FILE", "the network (220321-307.nnue)"},
    {"--hand-set", "", "the hand-set evaluation everywhere, no network"},
    {"--quick", "", "no search: moves drawn by chance, the best of a few; quiet positions are"},
    {"", "", "scored by their quiescence value"},
    {"--tries", "N", "moves that such a choice looks at (4)"},
    {"--soft-nodes", "N", "no further iteration begins beyond (1500)"},
    {"--hard-nodes", "N", "a search is cut off at (10000)"},
    {"--hash", "MB", "table of each process (16; 1 with --quick, which stores nothing)"},
    {"--random-plies", "N", "plies drawn by chance at the start, or one more (8)"},
    {"--chess960", "SHARE", "share of Chess960 start positions, 0 to 1 (0.2)"},
    {"--opening-limit", "N", "throws away openings scored beyond, centipawns (300)"},
    {"--win", "N", "ends games that four plies in a row see decided by so much (1500)"},
    {"--draw", "N", "ends games that twelve plies in a row, from ply 80, see within (8)"},
    {"--longest", "N", "plies of the longest game (400)"},
    {"--seed", "N", "of all that is left to chance (1)"},
    {"--help", "", "this text"},
};

constexpr int reportInterval = 10000; ///< milliseconds
constexpr int mostProcesses = 256;

struct processPlan
{
    selfPlayPlan game;
    std::string out;
    std::uint64_t positions = 0; ///< of each process
    std::uint64_t seed = 0;
    int processes = 1;
    int hashMegabytes = 16;
    std::string net;
    bool handSet = false;
};

/// What one process has in its file, for all to see.
struct alignas(64) processTally
{
    std::atomic<std::uint64_t> games{0};
    std::atomic<std::uint64_t> positions{0};
    std::atomic<std::uint64_t> ownPositions{0}; ///< since it was started
};

volatile std::sig_atomic_t interrupted = 0;

void onInterrupt(int /*signal*/) { interrupted = 1; }

processPlan readPlan(commandLine &given)
{
    processPlan plan;
    selfPlayPlan &game = plan.game;
    const int cores = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 256U));
    plan.out = textOption(given, "--out", "games");
    plan.processes = static_cast<int>(numberOption(given, "--processes", cores, 1, mostProcesses));
    plan.positions = static_cast<std::uint64_t>(numberOption(given, "--positions", 1000000, 1, 1000000000000)) /
                         static_cast<std::uint64_t>(plan.processes) +
                     1;
    plan.seed = static_cast<std::uint64_t>(numberOption(given, "--seed", 1, 0, 1000000000));
    plan.hashMegabytes = static_cast<int>(numberOption(given, "--hash", isGiven(given, "--quick") ? 1 : 16, 1, 4096));
    plan.net = textOption(given, "--net", defaultNetFileName);
    plan.handSet = isGiven(given, "--hand-set");
    game.quick = isGiven(given, "--quick");
    game.tries = static_cast<int>(numberOption(given, "--tries", game.tries, 1, 256));
    game.budget.soft = static_cast<std::uint64_t>(numberOption(given, "--soft-nodes", 1500, 1, 1000000000));
    game.budget.hard = static_cast<std::uint64_t>(numberOption(given, "--hard-nodes", 10000, 1, 1000000000));
    game.opening.fewestPlies = static_cast<int>(numberOption(given, "--random-plies", 8, 0, 100));
    game.opening.chess960Share = realOption(given, "--chess960", 0.2, 0, 1);
    game.openingLimit = static_cast<int>(numberOption(given, "--opening-limit", game.openingLimit, 0, 32000));
    game.winScore = static_cast<int>(numberOption(given, "--win", game.winScore, 1, 32000));
    game.drawScore = static_cast<int>(numberOption(given, "--draw", game.drawScore, 0, 32000));
    game.longestGame = static_cast<int>(numberOption(given, "--longest", game.longestGame, 1, longestStoredGame));
    if (given.error.empty() && !given.files.empty())
    {
        given.error = "unexpected word: " + given.files.front();
    }
    return plan;
}

std::string partName(const processPlan &plan, int process) { return plan.out + "." + std::to_string(process); }

/// The work of one process: games into its file until it holds enough positions.
int playGames(const processPlan &plan, int process, processTally &tally)
{
    gameWriter writer;
    const std::string error = openForAppending(writer, partName(plan, process));
    if (!error.empty())
    {
        std::fprintf(stderr, "selfplay: %s\n", error.c_str());
        return 1;
    }
    tally.games = writer.summary.games;
    tally.positions = writer.summary.positions;
    startSelfSearch(plan.hashMegabytes);
    const auto board = std::make_unique<gameBoard>();
    // A resumed file goes on with other games than those it holds.
    std::seed_seq seed{plan.seed, static_cast<std::uint64_t>(process), writer.summary.games};
    randomSource random(seed);
    bool written = true;
    while (written && interrupted == 0 && writer.summary.positions < plan.positions)
    {
        const std::optional<storedGame> game = playSelfGame(*board, plan.game, random);
        if (game)
        {
            written = appendGame(writer, *game);
            tally.games = writer.summary.games;
            tally.positions = writer.summary.positions;
            tally.ownPositions += game->moves.size();
        }
    }
    closeWriter(writer);
    endSelfSearch();
    if (!written)
    {
        std::fprintf(stderr, "selfplay: cannot write %s\n", partName(plan, process).c_str());
    }
    return written ? 0 : 1;
}

void tellTotals(const processPlan &plan, const processTally *tallies, std::int64_t elapsed)
{
    std::uint64_t games = 0;
    std::uint64_t positions = 0;
    std::uint64_t own = 0;
    for (int i = 0; i < plan.processes; ++i)
    {
        games += tallies[i].games;
        positions += tallies[i].positions;
        own += tallies[i].ownPositions;
    }
    std::printf("%llu games, %llu positions, %.0f positions/s\n", static_cast<unsigned long long>(games),
                static_cast<unsigned long long>(positions),
                static_cast<double>(own) * 1000 / static_cast<double>(std::max<std::int64_t>(elapsed, 1)));
    std::fflush(stdout);
}

/// Waits for the processes, telling now and then what they have done. Returns 1 if one failed.
int superviseProcesses(const processPlan &plan, std::vector<pid_t> children, const processTally *tallies)
{
    const std::int64_t start = millisecondsNow();
    std::int64_t told = start;
    int result = 0;
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
                std::fprintf(stderr, "selfplay: a process failed (status %d)\n", status);
                result = 1;
            }
            continue;
        }
        if (interrupted != 0 && !passedOn)
        {
            passedOn = true;
            for (const pid_t child : children)
            {
                kill(child, SIGTERM);
            }
        }
        sleepMilliseconds(20);
        if (millisecondsNow() - told >= reportInterval)
        {
            told = millisecondsNow();
            tellTotals(plan, tallies, told - start);
        }
    }
    tellTotals(plan, tallies, millisecondsNow() - start);
    return result;
}

int runProcesses(const processPlan &plan)
{
    void *shared =
        mmap(nullptr, sizeof(processTally) * mostProcesses, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
    {
        std::fprintf(stderr, "selfplay: no shared memory\n");
        return 1;
    }
    auto *tallies = new (shared) processTally[mostProcesses];
    std::vector<pid_t> children;
    for (int process = 0; process < plan.processes; ++process)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            const int result = playGames(plan, process, tallies[process]);
            std::fflush(nullptr);
            _exit(result);
        }
        if (child < 0)
        {
            std::fprintf(stderr, "selfplay: only %zu processes could be started\n", children.size());
            break;
        }
        children.push_back(child);
    }
    return children.empty() ? 1 : superviseProcesses(plan, children, tallies);
}

/// One line of what is wrong with the evaluator asked for, or nothing.
std::string prepareEvaluator(const processPlan &plan)
{
    if (plan.handSet)
    {
        networkLimit = 0;
        return {};
    }
    return loadNetFile(plan.net) ? "" : plan.net + " is no network; --hand-set plays without one";
}

int selfplayMain(int wordCount, char **words)
{
    commandLine given = readCommandLine(wordCount, words, selfplayOptions);
    if (isGiven(given, "--help") || wordCount == 1)
    {
        std::printf("%s", usageText("selfplay [options]", "Plays the engine against itself and writes scored games.",
                                    selfplayOptions)
                              .c_str());
        return 0;
    }
    const processPlan plan = readPlan(given);
    if (given.error.empty())
    {
        given.error = prepareEvaluator(plan);
    }
    if (!given.error.empty())
    {
        std::fprintf(stderr, "selfplay: %s\n", given.error.c_str());
        return 2;
    }
    initTables();
    engineOptions.chess960 = true; // standard games lose nothing by it
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    return runProcesses(plan);
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv) { return tarvonel::selfplayMain(argc, argv); }
