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
#include <unistd.h>
#include <vector>

#include "board/engineOptions.h"
#include "eval/evaluate.h"
#include "eval/networkFile.h"
#include "games/gameFile.h"
#include "games/selfGame.h"
#include "games/selfSearch.h"
#include "platform/clock.h"
#include "programMain.h"

namespace tarvonel
{

namespace
{

constexpr int reportInterval = 10000; ///< milliseconds
constexpr int mostProcesses = 256;

struct processPlan
{
    selfPlayPlan game;
    std::string out;
    std::uint64_t positions = 1'000'000; ///< of all processes
    std::uint64_t seed = 1;
    int processes = coreCount();
    int hashMegabytes = 16;
    std::string net = defaultNetFileName;
    bool handSet = false;
};

/// What one process has in its file, for all to see.
struct alignas(64) processTally
{
    std::atomic<std::uint64_t> games{0};
    std::atomic<std::uint64_t> positions{0};
    std::atomic<std::uint64_t> ownPositions{0}; ///< since it was started
};

void declareOptions(CLI::App &app, processPlan &plan)
{
    selfPlayPlan &game = plan.game;
    const CLI::Validator anyScore = numberFrom(0, 32'000);
    app.add_option("--out", plan.out, "games go to FILE.0, FILE.1, ..., one for each process")
        ->required()
        ->type_name("FILE");
    app.add_option("--positions", plan.positions, "goes on until the files hold so many positions")
        ->check(numberFrom(1, 1e12));
    app.add_option("--processes", plan.processes, "processes")->check(numberFrom(1, mostProcesses));
    CLI::Option *net = app.add_option("--net", plan.net, "the network");
    app.add_flag("--hand-set", plan.handSet, "the hand-set evaluation everywhere, no network")->excludes(net);
    app.add_flag("--quick", game.quick,
                 "no search: moves drawn by chance, the best of a few; quiet positions are scored by their "
                 "quiescence value");
    app.add_option("--tries", game.tries, "moves that such a choice looks at")->check(numberFrom(1, 256));
    app.add_option("--soft-nodes", game.limits.softNodes, "no further iteration begins beyond")
        ->check(numberFrom(1, 1e9));
    app.add_option("--hard-nodes", game.limits.hardNodes, "a search is cut off at")->check(numberFrom(1, 1e9));
    app.add_option("--hash", plan.hashMegabytes, "table of each process, MiB")->check(numberFrom(1, 4096));
    app.add_option("--random-plies", game.opening.fewestPlies, "plies drawn by chance at the start, or one more")
        ->check(numberFrom(0, 100));
    app.add_option("--chess960", game.opening.chess960Share, "share of Chess960 start positions")
        ->check(numberFrom(0, 1));
    app.add_option("--opening-limit", game.openingLimit, "throws away openings scored beyond, centipawns")
        ->check(anyScore);
    app.add_option("--win", game.winScore, "ends games that four plies in a row see decided by so much")
        ->check(anyScore);
    app.add_option("--draw", game.drawScore, "ends games that twelve plies in a row, from ply 80, see within")
        ->check(anyScore);
    app.add_option("--longest", game.longestGame, "plies of the longest game")->check(numberFrom(1, longestStoredGame));
    app.add_option("--seed", plan.seed, "of all that is left to chance")->check(numberFrom(0, 1e9));
}

std::string partName(const processPlan &plan, int process) { return plan.out + "." + std::to_string(process); }

/// The work of one process: games into its file until it holds enough positions or the parent is gone.
int playGames(const processPlan &plan, int process, pid_t parent, processTally &tally)
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
    const auto board = std::make_unique<posWithMoves>();
    // A resumed file goes on with other games than those it holds.
    std::seed_seq seed{plan.seed, static_cast<std::uint64_t>(process), writer.summary.games};
    randomSource random(seed);
    const std::uint64_t wanted = plan.positions / static_cast<std::uint64_t>(plan.processes) + 1;
    bool written = true;
    while (written && !interrupted && getppid() == parent && writer.summary.positions < wanted)
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
        std::fprintf(stderr, "selfplay: cannot write %s\n", partName(plan, process).c_str());
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
        if (interrupted && !passedOn)
        {
            passedOn = true;
            for (const pid_t child : children)
                kill(child, SIGTERM);
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
    const pid_t parent = getpid();
    std::vector<pid_t> children;
    for (int process = 0; process < plan.processes; ++process)
    {
        const pid_t child = fork();
        if (child == 0)
        {
            const int result = playGames(plan, process, parent, tallies[process]);
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

int selfplay(const processPlan &plan)
{
    if (plan.handSet)
        networkLimit = 0;
    else if (!loadNetFile(plan.net))
        throw CLI::ValidationError("--net", plan.net + " is no network; --hand-set plays without one");
    engineOptions.chess960 = true; // standard games lose nothing by it
    watchForInterrupts();
    return runProcesses(plan);
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::processPlan plan;
    return tarvonel::programMain(
        argc, argv, "Plays the engine against itself and writes scored games.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::selfplay(plan); });
}
