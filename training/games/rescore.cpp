// Gives a share of the positions in recorded games scores of deeper searches.

#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "games/gameProcesses.h"
#include "games/rescoredGame.h"
#include "programMain.h"
#include "search/worker.h"

namespace tarvonel
{

namespace
{

struct processPlan
{
    rescorePlan game;
    std::vector<std::string> files;
    std::string out;
    std::uint64_t seed = 1;
    int processes = coreCount();
    int hashMegabytes = 2;
    std::string net = defaultNetFileName;
};

void declareOptions(CLI::App &app, processPlan &plan)
{
    app.add_option("games", plan.files, "game files")->required();
    app.add_option("--out", plan.out, "games go to FILE.0, FILE.1, ..., one file per process")
        ->required()
        ->type_name("FILE");
    app.add_option("--share", plan.game.share, "of the positions that train would use")->check(numberFrom(0, 1));
    app.add_option("--first-ply", plan.game.filter.firstPly, "leave out earlier plies of each game")
        ->check(numberFrom(0, 10'000));
    app.add_option("--processes", plan.processes, "processes")->check(numberFrom(1, mostProcesses));
    app.add_option("--net", plan.net, "the network");
    app.add_option("--nodes", plan.game.nodes,
                   "nodes after which no further iteration starts; a search is cut off after six times as many")
        ->check(numberFrom(1, 1e9));
    app.add_option("--variation-nodes", plan.game.variationNodes,
                   "score the end of the principal variation of a search with this soft limit, from one position "
                   "of each game; 0: score the positions of the games")
        ->check(numberFrom(0, 1e9));
    app.add_option("--hash", plan.hashMegabytes, "transposition table of each process, MiB")
        ->check(numberFrom(1, 4096));
    app.add_option("--seed", plan.seed, "seed of the choice of positions")->check(numberFrom(0, 1e9));
}

/// Each process takes every n-th game. Its file holds one game for each that it has finished, so a resumed
/// run goes on where it was.
void rescoreGames(const processPlan &plan, gameProcess &process)
{
    const searchResources resources(1, plan.hashMegabytes);
    const auto board = std::make_unique<posWithMoves>();
    const auto processes = static_cast<std::uint64_t>(plan.processes);
    std::uint64_t next = static_cast<std::uint64_t>(process.number) + processes * process.writer.summary.games;
    std::uint64_t number = 0;
    for (const std::string &path : plan.files)
    {
        gameReader reader;
        if (!openGames(reader, path))
            throw std::runtime_error("cannot read " + path);
        for (storedGame game; !mustEnd(process) && nextGame(reader, game); ++number)
        {
            if (number != next)
                continue;
            std::seed_seq seed{plan.seed, number};
            randomSource random(seed);
            if (plan.game.variationNodes != 0)
            {
                const storedGame line = scoreVariation(game, *board, plan.game, random);
                finishGame(process, line, line.moves.empty() ? 0 : 1);
            }
            else
            {
                const std::size_t scored = rescoreGame(game, *board, plan.game, random);
                finishGame(process, game, scored);
            }
            next += processes;
        }
        closeGames(reader);
    }
}

int rescore(const processPlan &plan)
{
    if (!loadNetFile(plan.net))
        throw CLI::ValidationError("--net", plan.net + " is not a network");
    engineOptions.chess960 = true; // covers standard games too
    watchForInterrupts();
    return runProcesses("rescore", plan.out, plan.processes,
                        [&](gameProcess &process) { rescoreGames(plan, process); });
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::processPlan plan;
    return tarvonel::programMain(
        argc, argv, "Gives positions of recorded games the scores of deeper searches.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::rescore(plan); });
}
