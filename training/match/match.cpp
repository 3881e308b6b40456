// Plays a match between two engines, or between two networks, and reports its result.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <iostream>
#include <optional>
#include <random>
#include <string>
#include <vector>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "match/matchRun.h"
#include "programMain.h"
#include "uci/randomOpening.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr double longestClock = 1e6; ///< seconds
constexpr std::int64_t openingPatience = 60000;
constexpr const char *openingPrefix = "info string genfens ";

/// The everyday test of two networks; each default gives way to its option.
constexpr std::int64_t networkNodes = 1000;
constexpr std::int64_t networkGames = 10000;
const std::vector<int> networkResignRule{800, 4};
const std::vector<int> networkDrawRule{80, 8, 6};

/// The command line as given.
struct matchCommand
{
    matchPlan plan;
    std::vector<std::string> networks; ///< none, or of the first and second engine
    std::string engines[2];
    std::vector<std::string> commonOptions;
    std::string openingsFile;
    std::optional<std::uint64_t> shuffleSeed;
    std::vector<double> clock;   ///< seconds for the game and for each move
    std::vector<int> resignRule; ///< score, moves
    std::vector<int> drawRule;   ///< ply, score, moves
    std::optional<std::int64_t> games;
    std::optional<int> concurrency;
};

// --- options ---

void declareEngineOptions(CLI::App &app, matchCommand &command, const CLI::Validator &assignment)
{
    const char *const places[] = {"first", "second"};
    for (int i = 0; i < 2; ++i)
    {
        const std::string number = std::to_string(i + 1);
        const std::string engine = std::string(" of the ") + places[i] + " engine";
        const std::string fallback = i == 0 ? "" : "; the first's by default";
        engineSettings &settings = command.plan.engines[i];
        app.add_option("--engine" + number, command.engines[i],
                       "program and arguments" + engine + ", as one word" + fallback);
        app.add_option("--name" + number, settings.name, "name" + engine + " in reports");
        app.add_option("--dir" + number, settings.directory,
                       "working directory" + engine + ", where its program is looked up" + fallback);
        app.add_option("--option" + number, settings.options, "an option" + engine + "; may be repeated")
            ->allow_extra_args(false)
            ->check(assignment);
    }
    app.add_option("--option", command.commonOptions, "an option of both engines; may be repeated")
        ->allow_extra_args(false)
        ->check(assignment);
}

void declareLimits(CLI::App &app, matchCommand &command)
{
    thinkingLimits &limits = command.plan.game.limits;
    const CLI::Validator anyTime = numberFrom(0, 1e8);
    app.add_option("--tc", command.clock, "clock in seconds for the game and each move; 1+0.01 by default")
        ->delimiter('+')
        ->expected(2)
        ->type_name("BASE+INC");
    app.add_option("--movetime", limits.moveTime, "milliseconds for each move")->check(anyTime);
    app.add_option("--depth", limits.depth, "iterations for each move")->check(numberFrom(0, 127));
    app.add_option("--nodes", limits.nodes,
                   "nodes for each move: sent as \"go nodes\"; an engine that ignores it is stopped at its first "
                   "info line of that many")
        ->check(numberFrom(0, 1e12));
    app.add_option("--margin", limits.margin, "milliseconds by which a time limit may be exceeded")->check(anyTime);
    app.add_option("--patience", limits.patience, "milliseconds to wait for a move by depth or nodes")->check(anyTime);
}

void declareRules(CLI::App &app, matchCommand &command)
{
    app.add_option("--resign", command.resignRule,
                   "ends a game when both engines report that many centipawns for that many moves")
        ->delimiter(',')
        ->expected(2)
        ->type_name("SCORE,MOVES");
    app.add_option("--draw", command.drawRule, "the same for a draw, not before the ply")
        ->delimiter(',')
        ->expected(3)
        ->type_name("PLY,SCORE,MOVES");
    app.add_option("--maxplies", command.plan.game.rules.maxPlies, "longer games are drawn")
        ->check(numberFrom(1, 10'000));
    app.add_option("--sprt", command.plan.sprt, "stops when one of the two is 19 times likelier (errors 0.05)")
        ->delimiter(',')
        ->expected(2)
        ->type_name("ELO0,ELO1");
}

void declareOptions(CLI::App &app, matchCommand &command)
{
    const auto assignment = [](const std::string &text)
    { return text.find('=', 1) == std::string::npos ? "needs NAME=VALUE, got: " + text : std::string(); };
    matchPlan &plan = command.plan;
    app.add_option("networks", command.networks,
                   "two network files: the first is measured against the second, by nodeEngine, with 1000 nodes a "
                   "move, 10000 games, openings by genfens, --resign 800,4 --draw 80,8,6 --quiet on all cores, unless "
                   "options ask for other things")
        ->expected(0, 2)
        ->type_name("NEW OLD");
    declareEngineOptions(app, command, CLI::Validator(assignment, ""));
    app.add_option("--openings", command.openingsFile,
                   "start positions, one FEN a line; the start position by default");
    app.add_option("--shuffle", command.shuffleSeed, "plays the openings in a random order, by this seed");
    app.add_flag("--chess960", plan.game.chess960, "Chess960: castling is written as king takes rook");
    app.add_option("--games", command.games, "number of games, two for each opening; 100 by default")
        ->check(numberFrom(1, 1e8));
    app.add_option("--concurrency", command.concurrency, "games at the same time; 1 by default")
        ->check(numberFrom(1, 256));
    declareLimits(app, command);
    declareRules(app, command);
    app.add_option("--pgn", plan.pgnFile, "appends the games to the file");
    app.add_option("--faults", plan.faultFile, "appends games with crashes, illegal moves, time losses");
    app.add_option("--tally", plan.tallyFile, "keeps the results in the file, from which the match can go on");
    app.add_flag("--quiet", plan.quiet, "reports every tenth pair instead of every game");
}

// --- completion of the plan ---

void completeNetworks(matchCommand &command)
{
    if (command.networks.empty())
        return;
    if (command.networks.size() != 2)
        throw CLI::ValidationError("networks", "needs two network files");
    matchPlan &plan = command.plan;
    for (int i = 0; i < 2; ++i)
    {
        const std::filesystem::path network = std::filesystem::absolute(command.networks[static_cast<std::size_t>(i)]);
        if (!std::filesystem::is_regular_file(network))
            throw CLI::ValidationError("networks", "no file " + network.string());
        plan.engines[i].options.push_back("NetFile=" + network.string());
        if (plan.engines[i].name == matchPlan().engines[i].name)
            plan.engines[i].name = network.stem();
    }
    if (command.engines[0].empty())
    {
        command.engines[0] = programDirectory.empty() ? "nodeEngine" : "./nodeEngine";
        plan.engines[0].directory = programDirectory;
    }
    thinkingLimits &limits = plan.game.limits;
    if (limits.nodes == 0 && limits.depth == 0 && limits.moveTime == 0 && command.clock.empty())
        limits.nodes = networkNodes;
    command.games = command.games.value_or(networkGames);
    command.concurrency = command.concurrency.value_or(coreCount());
    if (command.resignRule.empty())
        command.resignRule = networkResignRule;
    if (command.drawRule.empty())
        command.drawRule = networkDrawRule;
    plan.quiet = true;
}

/// The second engine takes from the first what it has not itself; both take the common options.
void completeEngines(matchCommand &command)
{
    matchPlan &plan = command.plan;
    if (command.engines[0].empty())
        throw CLI::RequiredError("--engine1 or two networks");
    if (command.engines[1].empty())
        command.engines[1] = command.engines[0];
    if (plan.engines[1].directory.empty())
        plan.engines[1].directory = plan.engines[0].directory;
    for (int i = 0; i < 2; ++i)
    {
        engineSettings &engine = plan.engines[i];
        engine.command = splitWords(command.engines[i]);
        engine.chess960 = plan.game.chess960;
        engine.options.insert(engine.options.begin(), command.commonOptions.begin(), command.commonOptions.end());
    }
}

void completeRules(matchCommand &command)
{
    matchPlan &plan = command.plan;
    if (command.clock.empty())
        command.clock = {1, 0.01};
    const double base = command.clock[0];
    const double increment = command.clock[1];
    const bool isClock = base > 0 && increment >= 0 && base + increment < longestClock; // not for NaN
    if (!isClock)
        throw CLI::ValidationError("--tc", "needs a time above 0 and an increment");
    plan.game.limits.clock = std::lround(base * 1000);
    plan.game.limits.increment = std::lround(increment * 1000);
    if (!plan.sprt.empty() && !(plan.sprt[0] < plan.sprt[1]))
        throw CLI::ValidationError("--sprt", "needs ELO0 below ELO1");
    adjudicationRules &rules = plan.game.rules;
    if (!command.resignRule.empty())
    {
        rules.resignScore = command.resignRule[0];
        rules.resignMoves = command.resignRule[1];
    }
    if (!command.drawRule.empty())
    {
        rules.drawPly = command.drawRule[0];
        rules.drawScore = command.drawRule[1];
        rules.drawMoves = command.drawRule[2];
    }
    plan.games = command.games.value_or(plan.games);
    plan.concurrency = command.concurrency.value_or(plan.concurrency);
}

/// Balanced openings of the second engine's making.
std::vector<std::string> makeOpenings(const matchPlan &plan)
{
    const auto count = static_cast<std::size_t>((plan.games + 1) / 2);
    matchEngine engine;
    engine.settings = &plan.engines[1];
    startEngine(engine);
    std::vector<std::string> openings = askForLines(engine, "genfens " + std::to_string(count) + " seed 1 book NONE",
                                                    openingPrefix, count, openingPatience);
    stopEngine(engine);
    return openings;
}

std::vector<std::string> readOpenings(const std::string &file)
{
    openingBook book = readOpeningBook(file);
    if (book.refusedLines > 0)
        std::cerr << file << ": " << book.refusedLines << " lines hold no position to play from\n";
    if (book.fens.empty())
        throw CLI::ValidationError("--openings", "no openings in " + file);
    return std::move(book.fens);
}

void completeOpenings(matchCommand &command)
{
    std::vector<std::string> &openings = command.plan.openings;
    if (!command.openingsFile.empty())
        openings = readOpenings(command.openingsFile);
    else if (!command.networks.empty())
        openings = makeOpenings(command.plan);
    else
        openings = {startPositionFen};
    if (command.shuffleSeed)
    {
        std::mt19937_64 random(*command.shuffleSeed);
        std::ranges::shuffle(openings, random);
    }
}

int runMatch(matchCommand &command)
{
    engineOptions.chess960 = command.plan.game.chess960;
    completeNetworks(command);
    completeEngines(command);
    completeRules(command);
    completeOpenings(command);
    watchForInterrupts();
    return playMatch(command.plan, std::cout).faults > 0 ? 3 : 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::matchCommand command;
    return tarvonel::programMain(
        argc, argv, "Plays two engines or networks against each other. Exit status 3 means faults.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, command); }, [&] { return tarvonel::runMatch(command); });
}
