// Plays games of the engine against itself on all cores and writes them, scored, to files.
//
// The search's state is global, so each core runs a process, and each process writes its own file:
// OUT.0, OUT.1 and so on. The processes count their work in shared memory.

#include <algorithm>
#include <atomic>
#include <csignal>
#include <cstdlib>
#include <iostream>
#include <memory>
#include <stdexcept>
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
#include "platform/clock.h"
#include "programMain.h"
#include "search/worker.h"

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

/// The work of one process, in shared memory.
struct alignas(64) processTally
{
    std::atomic<std::uint64_t> games{0}; ///< in its file
    std::atomic<std::uint64_t> positions{0};
    std::atomic<std::uint64_t> newPositions{0}; ///< since the start of the process
};

void declareOptions(CLI::App &app, processPlan &plan)
{
    selfPlayPlan &game = plan.game;
    const CLI::Validator anyScore = numberFrom(0, 32'000);
    app.add_option("--out", plan.out, "games go to FILE.0, FILE.1, ..., one file per process")
        ->required()
        ->type_name("FILE");
    app.add_option("--positions", plan.positions, "play until the files hold this many positions")
        ->check(numberFrom(1, 1e12));
    app.add_option("--processes", plan.processes, "processes")->check(numberFrom(1, mostProcesses));
    CLI::Option *net = app.add_option("--net", plan.net, "the network");
    app.add_flag("--hand-set", plan.handSet, "the hand-set evaluation everywhere, no network")->excludes(net);
    app.add_flag("--quick", game.quick,
                 "no search: the best of all captures and a few random moves; quiet positions are scored by "
                 "quiescence");
    app.add_option("--tries", game.tries, "random moves that such a choice compares")->check(numberFrom(1, 256));
    app.add_option("--soft-nodes", game.limits.softNodes, "nodes after which no further iteration starts")
        ->check(numberFrom(1, 1e9));
    app.add_option("--hard-nodes", game.limits.hardNodes, "nodes after which a search is cut off")
        ->check(numberFrom(1, 1e9));
    app.add_option("--middlegame-nodes", game.middlegameNodes,
                   "soft nodes while the phase is 12 to 24, with the hard limit in proportion; 0: as --soft-nodes")
        ->check(numberFrom(0, 1e9));
    app.add_option("--hash", plan.hashMegabytes, "transposition table of each process, MiB")
        ->check(numberFrom(1, 4096));
    app.add_option("--random-plies", game.opening.fewestPlies, "random plies at the start, or one more")
        ->check(numberFrom(0, 100));
    app.add_option("--chess960", game.opening.chess960Share, "share of Chess960 start positions")
        ->check(numberFrom(0, 1));
    app.add_option("--uneven-starts", game.unevenShare, "share of games that start from an ending or an imbalance")
        ->check(numberFrom(0, 1));
    app.add_option("--opening-limit", game.openingLimit, "discard openings scored beyond, centipawns")->check(anyScore);
    app.add_option("--win", game.winScore, "adjudicate a win after four plies with at least this score")
        ->check(anyScore);
    app.add_option("--draw", game.drawScore, "adjudicate a draw after twelve plies within this score, from ply 80")
        ->check(anyScore);
    app.add_flag("!--play-dead-draws", game.endsDeadDraws,
                 "do not adjudicate endings without progress, with few pieces or with bare minor pieces as drawn");
    app.add_option("--longest", game.longestGame, "plies of the longest game")->check(numberFrom(1, longestStoredGame));
    app.add_option("--seed", plan.seed, "seed of all random choices")->check(numberFrom(0, 1e9));
}

std::string partName(const processPlan &plan, int process) { return plan.out + "." + std::to_string(process); }

/// Sets up the search and appends games to the process's file until it holds enough positions or the
/// parent has ended.
void playGames(const processPlan &plan, int process, pid_t parent, processTally &tally)
{
    gameWriter writer;
    openForAppending(writer, partName(plan, process));
    tally.games = writer.summary.games;
    tally.positions = writer.summary.positions;
    const searchResources resources(1, plan.hashMegabytes);
    const auto board = std::make_unique<posWithMoves>();
    // The number of games in the file is part of the seed: a resumed file gets new games.
    std::seed_seq seed{plan.seed, static_cast<std::uint64_t>(process), writer.summary.games};
    randomSource random(seed);
    const std::uint64_t wanted = plan.positions / static_cast<std::uint64_t>(plan.processes) + 1;
    while (!interrupted && getppid() == parent && writer.summary.positions < wanted)
    {
        const std::optional<storedGame> game = playSelfGame(*board, plan.game, random);
        if (!game)
            continue;
        appendGame(writer, *game);
        tally.games = writer.summary.games;
        tally.positions = writer.summary.positions;
        tally.newPositions += game->moves.size();
    }
    closeWriter(writer);
}

/// A child process from its start to its exit status.
int runProcess(const processPlan &plan, int process, pid_t parent, processTally &tally)
{
    try
    {
        playGames(plan, process, parent, tally);
        return EXIT_SUCCESS;
    }
    catch (const std::exception &error)
    {
        std::cerr << std::string("selfplay: ") + error.what() + "\n";
        return EXIT_FAILURE;
    }
}

void printTotals(const processPlan &plan, const processTally *tallies, std::int64_t elapsed)
{
    std::uint64_t games = 0;
    std::uint64_t positions = 0;
    std::uint64_t newPositions = 0;
    for (int i = 0; i < plan.processes; ++i)
    {
        games += tallies[i].games;
        positions += tallies[i].positions;
        newPositions += tallies[i].newPositions;
    }
    const auto milliseconds = static_cast<std::uint64_t>(std::max<std::int64_t>(elapsed, 1));
    std::cout << games << " games, " << positions << " positions, " << newPositions * 1000 / milliseconds
              << " positions/s\n"
              << std::flush;
}

/// Waits for the processes and prints their progress. Returns 1 if one failed.
int superviseProcesses(const processPlan &plan, std::vector<pid_t> children, const processTally *tallies)
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
                std::cerr << "selfplay: a process failed (status " << status << ")\n";
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
            printTotals(plan, tallies, lastReport - start);
        }
    }
    printTotals(plan, tallies, millisecondsNow() - start);
    return result;
}

int runProcesses(const processPlan &plan)
{
    void *shared =
        mmap(nullptr, sizeof(processTally) * mostProcesses, PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0);
    if (shared == MAP_FAILED)
        throw std::runtime_error("no shared memory");
    auto *tallies = new (shared) processTally[mostProcesses];
    const pid_t parent = getpid();
    std::vector<pid_t> children;
    std::cout.flush(); // or each child would print it again
    for (int process = 0; process < plan.processes; ++process)
    {
        const pid_t child = fork();
        if (child == 0) // `exit` also writes the counts of a profiled build
            std::exit(runProcess(plan, process, parent, tallies[process]));
        if (child < 0)
        {
            std::cerr << "selfplay: only " << children.size() << " processes could be started\n";
            break;
        }
        children.push_back(child);
    }
    return children.empty() ? EXIT_FAILURE : superviseProcesses(plan, children, tallies);
}

int selfplay(const processPlan &plan)
{
    if (plan.handSet)
        networkLimit = 0;
    else if (!loadNetFile(plan.net))
        throw CLI::ValidationError("--net", plan.net + " is not a network; --hand-set plays without one");
    engineOptions.chess960 = true; // covers standard games too
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
