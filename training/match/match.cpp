// Plays a match between two engines and reports its result.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <optional>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "match/elo.h"
#include "match/matchGame.h"
#include "movegen/randomOpening.h"
#include "programMain.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr double sprtError = 0.05;
constexpr double longestClock = 1e6; ///< seconds

struct matchPlan
{
    std::string commands[2];
    engineSettings engines[2]{{"engine1", {}, "", {}, false}, {"engine2", {}, "", {}, false}};
    std::vector<std::string> commonOptions;
    std::string openingsFile;
    std::vector<std::string> openings;
    std::optional<std::uint64_t> shuffleSeed;
    gamePlan game;
    std::vector<double> clock{1, 0.01}; ///< seconds for the game and for each move
    std::vector<int> resignRule;        ///< score, moves
    std::vector<int> drawRule;          ///< ply, score, moves
    std::vector<double> sprt;           ///< the two differences in Elo
    std::int64_t games = 100;
    int concurrency = 1;
    bool quiet = false;
    std::string pgnFile;
    std::string faultFile;
};

/// What the threads of a match share.
struct matchState
{
    const matchPlan &plan;
    std::mutex lock; ///< guards all below
    std::int64_t nextGame = 0;
    std::int64_t finished = 0;
    std::int64_t faults = 0;
    matchTally tally{};
    std::map<std::int64_t, int> openPairs{}; ///< half points of pairs with one game played
    bool over = false;
    bool failed = false;
};

// --- reading the command line ---

void declareEngineOptions(CLI::App &app, matchPlan &plan, const CLI::Validator &assignment)
{
    const char *const places[] = {"first", "second"};
    for (int i = 0; i < 2; ++i)
    {
        const std::string number = std::to_string(i + 1);
        const std::string engine = std::string(" of the ") + places[i] + " engine";
        const std::string fallback = i == 0 ? "" : "; the first's by default";
        app.add_option("--engine" + number, plan.commands[i],
                       "program and words" + engine + ", in one argument" + fallback)
            ->required(i == 0);
        app.add_option("--name" + number, plan.engines[i].name, "name" + engine + " in reports");
        app.add_option("--dir" + number, plan.engines[i].directory,
                       "working directory" + engine + ", from which its program is looked for" + fallback);
        app.add_option("--option" + number, plan.engines[i].options, "an option" + engine + "; may be repeated")
            ->allow_extra_args(false)
            ->check(assignment);
    }
    app.add_option("--option", plan.commonOptions, "an option of both engines; may be repeated")
        ->allow_extra_args(false)
        ->check(assignment);
}

void declareLimits(CLI::App &app, matchPlan &plan)
{
    thinkingLimits &limits = plan.game.limits;
    const CLI::Validator anyTime = numberFrom(0, 1e8);
    app.add_option("--tc", plan.clock, "clock in seconds for the game and each move")
        ->delimiter('+')
        ->expected(2)
        ->type_name("BASE+INC");
    app.add_option("--movetime", limits.moveTime, "milliseconds for each move")->check(anyTime);
    app.add_option("--depth", limits.depth, "iterations for each move")->check(numberFrom(0, 127));
    app.add_option(
           "--nodes", limits.nodes,
           "nodes for each move: sent as \"go nodes\"; an engine that ignores it is stopped at its first report "
           "of so many")
        ->check(numberFrom(0, 1e12));
    app.add_option("--margin", limits.margin, "milliseconds by which a time limit may be overstepped")->check(anyTime);
    app.add_option("--patience", limits.patience, "milliseconds to wait for a move by depth or nodes")->check(anyTime);
}

void declareRules(CLI::App &app, matchPlan &plan)
{
    app.add_option("--resign", plan.resignRule, "ends a game when both see so many centipawns for so many moves")
        ->delimiter(',')
        ->expected(2)
        ->type_name("SCORE,MOVES");
    app.add_option("--draw", plan.drawRule, "ends a game as drawn, not before the ply")
        ->delimiter(',')
        ->expected(3)
        ->type_name("PLY,SCORE,MOVES");
    app.add_option("--maxplies", plan.game.rules.maxPlies, "calls longer games drawn")->check(numberFrom(1, 10'000));
    app.add_option("--sprt", plan.sprt, "stops when one of the two is 19 times likelier (errors 0.05)")
        ->delimiter(',')
        ->expected(2)
        ->type_name("ELO0,ELO1");
}

void declareOptions(CLI::App &app, matchPlan &plan)
{
    const auto assignment = [](const std::string &text)
    { return text.find('=', 1) == std::string::npos ? "needs NAME=VALUE, got: " + text : std::string(); };
    declareEngineOptions(app, plan, CLI::Validator(assignment, ""));
    app.add_option("--openings", plan.openingsFile, "start positions, one FEN a line; the start position by default");
    app.add_option("--shuffle", plan.shuffleSeed, "plays the openings in an order drawn by chance from this seed");
    app.add_flag("--chess960", plan.game.chess960, "Chess960: castling is written as king takes rook");
    app.add_option("--games", plan.games, "number of games, two for each opening")->check(numberFrom(1, 1e8));
    app.add_option("--concurrency", plan.concurrency, "games at the same time")->check(numberFrom(1, 256));
    declareLimits(app, plan);
    declareRules(app, plan);
    app.add_option("--pgn", plan.pgnFile, "appends the games to the file");
    app.add_option("--faults", plan.faultFile, "appends games with crashes, illegal moves, time losses");
    app.add_flag("--quiet", plan.quiet, "tells every tenth pair instead of every game");
}

/// What the second engine has of the first, and both of the common options.
void completeEngines(matchPlan &plan)
{
    if (plan.commands[1].empty())
        plan.commands[1] = plan.commands[0];
    if (plan.engines[1].directory.empty())
        plan.engines[1].directory = plan.engines[0].directory;
    for (int i = 0; i < 2; ++i)
    {
        engineSettings &engine = plan.engines[i];
        engine.command = splitWords(plan.commands[i]);
        engine.chess960 = plan.game.chess960;
        engine.options.insert(engine.options.begin(), plan.commonOptions.begin(), plan.commonOptions.end());
    }
}

void completeRules(matchPlan &plan)
{
    if (!(plan.clock[0] > 0 && plan.clock[1] >= 0 && plan.clock[0] + plan.clock[1] < longestClock))
        throw CLI::ValidationError("--tc", "needs a time above 0 and an increment");
    plan.game.limits.clock = std::lround(plan.clock[0] * 1000);
    plan.game.limits.increment = std::lround(plan.clock[1] * 1000);
    if (!plan.sprt.empty() && !(plan.sprt[0] < plan.sprt[1]))
        throw CLI::ValidationError("--sprt", "needs ELO0 below ELO1");
    adjudicationRules &rules = plan.game.rules;
    if (!plan.resignRule.empty())
    {
        rules.resignScore = plan.resignRule[0];
        rules.resignMoves = plan.resignRule[1];
    }
    if (!plan.drawRule.empty())
    {
        rules.drawPly = plan.drawRule[0];
        rules.drawScore = plan.drawRule[1];
        rules.drawMoves = plan.drawRule[2];
    }
}

void readOpenings(matchPlan &plan)
{
    if (plan.openingsFile.empty())
    {
        plan.openings.emplace_back(startPositionFen);
        return;
    }
    openingBook book = readOpeningBook(plan.openingsFile);
    if (book.refusedLines > 0)
        std::fprintf(stderr, "%s: %zu lines hold no position to play from\n", plan.openingsFile.c_str(),
                     book.refusedLines);
    if (book.fens.empty())
        throw CLI::ValidationError("--openings", "no openings in " + plan.openingsFile);
    plan.openings = std::move(book.fens);
    if (plan.shuffleSeed)
    {
        std::mt19937_64 random(*plan.shuffleSeed);
        std::shuffle(plan.openings.begin(), plan.openings.end(), random);
    }
}

// --- reporting ---

std::string resultText(const finishedGame &game)
{
    static const char *const texts[] = {"0-1", "1/2-1/2", "1-0"};
    return game.whitePoints ? texts[*game.whitePoints] : "*";
}

std::string tallyText(const matchState &state)
{
    const matchTally &tally = state.tally;
    const eloEstimate estimate = estimateElo(tally);
    char text[200];
    std::snprintf(text, sizeof text, "%s - %s: +%lld =%lld -%lld  %.1f%%  Elo %+.1f +/- %.1f",
                  state.plan.engines[0].name.c_str(), state.plan.engines[1].name.c_str(),
                  static_cast<long long>(tally.wins), static_cast<long long>(tally.draws),
                  static_cast<long long>(tally.losses), estimate.score * 100, estimate.elo, estimate.margin);
    std::string line = text;
    if (!state.plan.sprt.empty())
    {
        std::snprintf(text, sizeof text, "  LLR %.2f (%.2f, %.2f) [%g, %g]",
                      logLikelihoodRatio(tally, state.plan.sprt[0], state.plan.sprt[1]),
                      lowerBound(sprtError, sprtError), upperBound(sprtError, sprtError), state.plan.sprt[0],
                      state.plan.sprt[1]);
        line += text;
    }
    return line + (state.faults > 0 ? "  faults " + std::to_string(state.faults) : "");
}

std::string todayText()
{
    const std::time_t now = std::time(nullptr);
    std::tm parts{};
    localtime_r(&now, &parts);
    char text[32];
    std::strftime(text, sizeof text, "%Y.%m.%d", &parts);
    return text;
}

std::string gameText(const matchPlan &plan, const finishedGame &game, std::int64_t number, int whiteIndex)
{
    pgnGame text;
    text.tags = {{"Event", "match"},
                 {"Site", "?"},
                 {"Date", todayText()},
                 {"Round", std::to_string(number + 1)},
                 {"White", plan.engines[whiteIndex].name},
                 {"Black", plan.engines[1 - whiteIndex].name},
                 {"Result", resultText(game)},
                 {"SetUp", "1"},
                 {"FEN", plan.openings[static_cast<std::size_t>(number / 2) % plan.openings.size()]}};
    if (plan.game.chess960)
        text.tags.emplace_back("Variant", "Chess960");
    text.tags.emplace_back("Termination", game.reason);
    text.result = resultText(game);
    text.moves = game.moves;
    text.firstMoveNumber = game.firstMoveNumber;
    text.blackBegins = game.blackBegins;
    return pgnText(text);
}

std::string faultHead(const finishedGame &game, std::int64_t number)
{
    return "game " + std::to_string(number + 1) + ": " + game.reason + "\n" + game.positionLine + "\n";
}

/// With the end of the engine's conversation.
std::string faultText(const finishedGame &game, std::int64_t number)
{
    std::string text = faultHead(game, number);
    for (const std::string &line : game.lastLines)
        text += "    " + line + "\n";
    return text + "\n";
}

void appendText(const std::string &file, const std::string &text)
{
    if (!file.empty() && !(std::ofstream(file, std::ios::app) << text << std::flush))
        std::fprintf(stderr, "cannot write %s\n", file.c_str());
}

// --- playing ---

void noteGame(matchState &state, const finishedGame &game, std::int64_t number, int whiteIndex)
{
    const matchPlan &plan = state.plan;
    const std::lock_guard guard(state.lock);
    ++state.finished;
    appendText(plan.pgnFile, gameText(plan, game, number, whiteIndex));
    if (game.fault != gameFault::none)
    {
        ++state.faults;
        appendText(plan.faultFile, faultText(game, number));
        std::printf("FAULT in %s", faultHead(game, number).c_str());
    }
    if (!game.whitePoints)
    {
        std::printf("game %lld not played: %s\n", static_cast<long long>(number) + 1, game.reason.c_str());
        return;
    }
    const int points = whiteIndex == 0 ? *game.whitePoints : 2 - *game.whitePoints;
    countGame(state.tally, points);
    const auto other = state.openPairs.find(number / 2);
    if (other == state.openPairs.end())
    {
        state.openPairs[number / 2] = points;
    }
    else
    {
        countPair(state.tally, points + other->second);
        state.openPairs.erase(other);
    }
    if (!plan.quiet)
    {
        std::printf("game %lld: %s, %s (%zu plies)\n", static_cast<long long>(number) + 1, resultText(game).c_str(),
                    game.reason.c_str(), game.moves.size());
    }
    if (!plan.quiet || state.finished % 20 == 0)
        std::printf("%s\n", tallyText(state).c_str());
    std::fflush(stdout);
    const double ratio = !plan.sprt.empty() ? logLikelihoodRatio(state.tally, plan.sprt[0], plan.sprt[1]) : 0;
    state.over |=
        !plan.sprt.empty() && (ratio <= lowerBound(sprtError, sprtError) || ratio >= upperBound(sprtError, sprtError));
}

/// The number of the next game to play, or -1.
std::int64_t takeGame(matchState &state)
{
    const std::lock_guard guard(state.lock);
    return interrupted || state.over || state.failed || state.nextGame >= state.plan.games ? -1 : state.nextGame++;
}

bool startEngines(matchState &state, matchEngine (&engines)[2])
{
    for (int i = 0; i < 2; ++i)
    {
        engines[i].settings = &state.plan.engines[i];
        const std::string error = engines[i].process.processId < 0 ? startEngine(engines[i]) : "";
        if (!error.empty())
        {
            const std::lock_guard guard(state.lock);
            std::fprintf(stderr, "%s\n", error.c_str());
            state.failed = true;
            return false;
        }
    }
    return true;
}

/// One thread of the match, with a pair of engines of its own.
void playGames(matchState &state)
{
    matchEngine engines[2];
    for (std::int64_t number = takeGame(state); number >= 0 && startEngines(state, engines); number = takeGame(state))
    {
        gamePlan plan = state.plan.game;
        plan.openingFen = state.plan.openings[static_cast<std::size_t>(number / 2) % state.plan.openings.size()];
        const int whiteIndex = static_cast<int>(number % 2);
        noteGame(state, playGame(engines[whiteIndex], engines[1 - whiteIndex], plan), number, whiteIndex);
    }
    stopEngine(engines[0]);
    stopEngine(engines[1]);
}

int runMatch(matchPlan &plan)
{
    engineOptions.chess960 = plan.game.chess960;
    completeEngines(plan);
    completeRules(plan);
    readOpenings(plan);
    watchForInterrupts();
    matchState state{plan, {}};
    std::vector<std::thread> threads;
    for (int i = 0; i < plan.concurrency; ++i)
        threads.emplace_back(playGames, std::ref(state));
    for (std::thread &thread : threads)
        thread.join();
    std::printf("%s\n", tallyText(state).c_str());
    return state.failed ? 1 : state.faults > 0 ? 3 : 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::matchPlan plan;
    return tarvonel::programMain(
        argc, argv, "Plays two engines against each other. Exit code 3 tells of faults.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::runMatch(plan); });
}
