// Plays games of the engine against itself on all cores and writes them, scored, to files.

#include <memory>
#include <optional>
#include <random>
#include <string>

#include "board/engineOptions.h"
#include "eval/evaluate.h"
#include "eval/networkFile.h"
#include "games/gameProcesses.h"
#include "games/rescoredGame.h"
#include "games/selfGame.h"
#include "programMain.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

struct processPlan
{
    selfPlayPlan game;
    rescorePlan rescoring = {.share = 0};
    std::string out;
    std::uint64_t positions = 1'000'000; ///< of all processes
    std::uint64_t seed = 1;
    int processes = coreCount();
    int hashMegabytes = 16;
    std::string net = defaultNetFileName;
    bool handSet = false;
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
    app.add_option("--unsuitable-nodes", game.unsuitableNodes,
                   "soft nodes in positions that train leaves out: in check, in the opening, unbalanced, or with a "
                   "capture as the best move; 0: as --soft-nodes")
        ->check(numberFrom(0, 1e9));
    app.add_option(
           "--rescore-share", plan.rescoring.share,
           "search this share of a game's suitable positions again and leave all others without a score; 0: off")
        ->check(numberFrom(0, 1));
    app.add_option("--rescore-nodes", plan.rescoring.nodes,
                   "soft nodes of these searches; they are cut off after six times as many")
        ->check(numberFrom(1, 1e9));
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

/// Sets up the search and plays until the file holds enough positions.
void playGames(const processPlan &plan, gameProcess &process)
{
    const searchResources resources(1, plan.hashMegabytes);
    const auto board = std::make_unique<posWithMoves>();
    const gameFileSummary &written = process.writer.summary;
    // The number of games in the file is part of the seed: a resumed file gets new games.
    std::seed_seq seed{plan.seed, static_cast<std::uint64_t>(process.number), written.games};
    randomSource random(seed);
    const std::uint64_t wanted = plan.positions / static_cast<std::uint64_t>(plan.processes) + 1;
    while (!mustEnd(process) && written.positions < wanted)
    {
        std::optional<storedGame> game = playSelfGame(*board, plan.game, random);
        if (!game)
            continue;
        const bool rescores = plan.rescoring.share > 0;
        const std::size_t scored = rescores ? rescoreGame(*game, *board, plan.rescoring, random) : game->moves.size();
        finishGame(process, *game, scored);
    }
}

int selfplay(const processPlan &plan)
{
    if (plan.handSet)
        networkLimit = 0;
    else if (!loadNetFile(plan.net))
        throw CLI::ValidationError("--net", plan.net + " is not a network; --hand-set plays without one");
    engineOptions.chess960 = true; // covers standard games too
    watchForInterrupts();
    return runProcesses("selfplay", plan.out, plan.processes, [&](gameProcess &process) { playGames(plan, process); });
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
