// Plays a match between two engines and reports its result.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <ctime>
#include <fstream>
#include <map>
#include <memory>
#include <mutex>
#include <random>
#include <string>
#include <thread>
#include <vector>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "commandLine.h"
#include "match/elo.h"
#include "match/matchGame.h"

namespace tarvonel
{

namespace
{

const programOption matchOptions[] = {
    {"--engine1", "COMMAND", "the first engine: its program and words, in one argument"},
    {"--engine2", "COMMAND", "the second engine; the first's by default"},
    {"--name1", "TEXT", "its name in reports (first)"},
    {"--name2", "TEXT", "its name in reports (second)"},
    {"--dir1", "PATH", "where the first engine runs, relative program paths are seen from there"},
    {"--dir2", "PATH", "where the second engine runs; dir1 by default"},
    {"--option", "NAME=VALUE", "an option for both engines; may be repeated"},
    {"--option1", "NAME=VALUE", "an option for the first engine; may be repeated"},
    {"--option2", "NAME=VALUE", "an option for the second engine; may be repeated"},
    {"--openings", "FILE", "start positions, one FEN a line; the start position by default"},
    {"--shuffle", "SEED", "plays the openings in an order drawn by chance"},
    {"--chess960", "", "Chess960: castling is written as king takes rook"},
    {"--games", "N", "number of games, two for each opening (100)"},
    {"--concurrency", "N", "games at the same time (1)"},
    {"--tc", "BASE+INC", "clock in seconds for the game and each move (1+0.01)"},
    {"--movetime", "MS", "milliseconds for each move"},
    {"--depth", "N", "iterations for each move"},
    {"--nodes", "N", "nodes for each move: sent as \"go nodes\"; an engine that ignores it is"},
    {"", "", "stopped at its first report of so many nodes"},
    {"--margin", "MS", "by which a time limit may be overstepped (0)"},
    {"--patience", "MS", "how long to wait for a move by depth or nodes (60000)"},
    {"--resign", "SCORE,MOVES", "ends a game when both see so many centipawns for so many moves"},
    {"--draw", "PLY,SCORE,MOVES", "ends a game as drawn, not before the ply"},
    {"--maxplies", "N", "calls longer games drawn (1000)"},
    {"--sprt", "ELO0,ELO1", "stops when one of the two is 19 times likelier (errors 0.05)"},
    {"--pgn", "FILE", "appends the games to the file"},
    {"--faults", "FILE", "appends games with crashes, illegal moves, time losses"},
    {"--quiet", "", "tells every tenth pair instead of every game"},
    {"--help", "", "this text"},
};

constexpr double sprtError = 0.05;

struct matchPlan
{
    engineSettings engines[2];
    std::vector<std::string> openings;
    gamePlan game;
    std::int64_t games = 0;
    int concurrency = 1;
    bool hasSprt = false;
    double elo0 = 0;
    double elo1 = 0;
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

std::atomic<bool> interrupted{false};

void onInterrupt(int /*signal*/) { interrupted = true; }

// --- reading the command line ---

std::vector<double> readList(commandLine &line, const std::string &name, char separator, std::size_t count)
{
    std::string text = textOption(line, name, "");
    std::replace(text.begin(), text.end(), separator, ' ');
    std::vector<double> values;
    for (const std::string &word : splitWords(text))
    {
        double value = 0;
        if (!readReal(word, value) || std::abs(value) > 1e9)
        {
            break;
        }
        values.push_back(value);
    }
    if (values.size() != count && line.error.empty())
    {
        line.error = name + " needs " + std::to_string(count) + " numbers separated by '" + separator +
                     "', got: " + textOption(line, name, "");
    }
    values.resize(count);
    return values;
}

void readEngineOptions(commandLine &line, const std::string &name, engineSettings &settings)
{
    for (const std::string &text : textOptions(line, name))
    {
        const std::size_t sign = text.find('=');
        if (sign == std::string::npos || sign == 0)
        {
            line.error = name + " needs NAME=VALUE, got: " + text;
            return;
        }
        settings.options.emplace_back(text.substr(0, sign), text.substr(sign + 1));
    }
}

void readEngines(commandLine &line, matchPlan &plan)
{
    const std::string first = textOption(line, "--engine1", "");
    const std::string commands[2] = {first, textOption(line, "--engine2", first)};
    const std::string firstDirectory = textOption(line, "--dir1", "");
    const std::string directories[2] = {firstDirectory, textOption(line, "--dir2", firstDirectory)};
    for (int i = 0; i < 2; ++i)
    {
        engineSettings &engine = plan.engines[i];
        const std::string number = std::to_string(i + 1);
        engine.command = splitWords(commands[i]);
        engine.name = textOption(line, "--name" + number, "engine" + number);
        engine.directory = directories[i];
        engine.chess960 = plan.game.chess960;
        readEngineOptions(line, "--option", engine);
        readEngineOptions(line, "--option" + number, engine);
        if (engine.command.empty() && line.error.empty())
        {
            line.error = "--engine1 is missing";
        }
    }
}

void readLimits(commandLine &line, matchPlan &plan)
{
    thinkingLimits &limits = plan.game.limits;
    limits.nodes = numberOption(line, "--nodes", 0, 1, 1000000000000);
    limits.depth = static_cast<int>(numberOption(line, "--depth", 0, 1, 127));
    limits.moveTime = static_cast<int>(numberOption(line, "--movetime", 0, 1, 100000000));
    limits.margin = numberOption(line, "--margin", 0, 0, 100000000);
    limits.patience = numberOption(line, "--patience", limits.patience, 1, 100000000);
    const std::vector<double> clock = isGiven(line, "--tc") ? readList(line, "--tc", '+', 2) : std::vector{1.0, 0.01};
    limits.clock = std::lround(clock[0] * 1000);
    limits.increment = std::lround(clock[1] * 1000);
    if ((limits.clock <= 0 || limits.increment < 0) && line.error.empty())
    {
        line.error = "--tc needs a time above 0 and an increment";
    }
}

void readRules(commandLine &line, matchPlan &plan)
{
    adjudicationRules &rules = plan.game.rules;
    rules.maxPlies = static_cast<int>(numberOption(line, "--maxplies", 1000, 1, 10000));
    if (isGiven(line, "--resign"))
    {
        const std::vector<double> values = readList(line, "--resign", ',', 2);
        rules.resignScore = static_cast<int>(values[0]);
        rules.resignMoves = static_cast<int>(values[1]);
    }
    if (isGiven(line, "--draw"))
    {
        const std::vector<double> values = readList(line, "--draw", ',', 3);
        rules.drawPly = static_cast<int>(values[0]);
        rules.drawScore = static_cast<int>(values[1]);
        rules.drawMoves = static_cast<int>(values[2]);
    }
    plan.hasSprt = isGiven(line, "--sprt");
    if (plan.hasSprt)
    {
        const std::vector<double> values = readList(line, "--sprt", ',', 2);
        plan.elo0 = values[0];
        plan.elo1 = values[1];
        if (plan.elo0 >= plan.elo1 && line.error.empty())
        {
            line.error = "--sprt needs ELO0 below ELO1";
        }
    }
}

/// The lines of the file that are positions, comments behind ';' cut off.
void readOpenings(commandLine &line, matchPlan &plan)
{
    if (!isGiven(line, "--openings"))
    {
        plan.openings.emplace_back("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1");
        return;
    }
    const std::string name = textOption(line, "--openings", "");
    std::ifstream file(name);
    const auto board = std::make_unique<gameBoard>();
    std::size_t refused = 0;
    for (std::string text; std::getline(file, text);)
    {
        std::string fen;
        const std::vector<std::string> words = splitWords(text.substr(0, text.find(';')));
        for (std::size_t i = 0; i < std::min<std::size_t>(words.size(), 6); ++i)
        {
            fen += (i > 0 ? " " : "") + words[i];
        }
        if (fen.empty())
        {
            continue;
        }
        if (setupGame(*board, fen).empty() && endOfGame(*board, legalMoves(*board)) == gameEnd::none)
        {
            plan.openings.push_back(fen);
        }
        else
        {
            ++refused;
        }
    }
    if (refused > 0)
    {
        std::fprintf(stderr, "%s: %zu lines hold no position to play from\n", name.c_str(), refused);
    }
    if (plan.openings.empty() && line.error.empty())
    {
        line.error = "no openings in " + name;
    }
    if (isGiven(line, "--shuffle"))
    {
        std::mt19937_64 random(static_cast<std::uint64_t>(numberOption(line, "--shuffle", 0, 0, 1000000000)));
        std::shuffle(plan.openings.begin(), plan.openings.end(), random);
    }
}

matchPlan readPlan(commandLine &line)
{
    matchPlan plan;
    plan.game.chess960 = isGiven(line, "--chess960");
    plan.games = numberOption(line, "--games", 100, 1, 100000000);
    plan.concurrency = static_cast<int>(numberOption(line, "--concurrency", 1, 1, 256));
    plan.quiet = isGiven(line, "--quiet");
    plan.pgnFile = textOption(line, "--pgn", "");
    plan.faultFile = textOption(line, "--faults", "");
    engineOptions.chess960 = plan.game.chess960;
    readEngines(line, plan);
    readLimits(line, plan);
    readRules(line, plan);
    if (line.error.empty())
    {
        readOpenings(line, plan);
    }
    return plan;
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
    if (state.plan.hasSprt)
    {
        std::snprintf(text, sizeof text, "  LLR %.2f (%.2f, %.2f) [%g, %g]",
                      logLikelihoodRatio(tally, state.plan.elo0, state.plan.elo1), lowerBound(sprtError, sprtError),
                      upperBound(sprtError, sprtError), state.plan.elo0, state.plan.elo1);
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
    {
        text.tags.emplace_back("Variant", "Chess960");
    }
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
    {
        text += "    " + line + "\n";
    }
    return text + "\n";
}

void appendText(const std::string &file, const std::string &text)
{
    if (!file.empty() && !(std::ofstream(file, std::ios::app) << text << std::flush))
    {
        std::fprintf(stderr, "cannot write %s\n", file.c_str());
    }
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
        std::printf("game %lld not played: %s\n", static_cast<long long>(number + 1), game.reason.c_str());
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
        std::printf("game %lld: %s, %s (%zu plies)\n", static_cast<long long>(number + 1), resultText(game).c_str(),
                    game.reason.c_str(), game.moves.size());
    }
    if (!plan.quiet || state.finished % 20 == 0)
    {
        std::printf("%s\n", tallyText(state).c_str());
    }
    std::fflush(stdout);
    const double ratio = plan.hasSprt ? logLikelihoodRatio(state.tally, plan.elo0, plan.elo1) : 0;
    state.over |=
        plan.hasSprt && (ratio <= lowerBound(sprtError, sprtError) || ratio >= upperBound(sprtError, sprtError));
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

int runMatch(const matchPlan &plan)
{
    matchState state{plan, {}};
    std::vector<std::thread> threads;
    for (int i = 0; i < plan.concurrency; ++i)
    {
        threads.emplace_back(playGames, std::ref(state));
    }
    for (std::thread &thread : threads)
    {
        thread.join();
    }
    std::printf("%s\n", tallyText(state).c_str());
    return state.failed ? 1 : state.faults > 0 ? 3 : 0;
}

} // namespace

int matchMain(int wordCount, char **words)
{
    commandLine given = readCommandLine(wordCount, words, matchOptions);
    if (isGiven(given, "--help") || wordCount == 1)
    {
        std::printf("%s", usageText("match --engine1 COMMAND [options]",
                                    "Plays two engines against each other. Exit code 3 tells of faults.", matchOptions)
                              .c_str());
        return 0;
    }
    initTables();
    const matchPlan plan = readPlan(given);
    if (!given.files.empty() && given.error.empty())
    {
        given.error = "unexpected word: " + given.files.front();
    }
    if (!given.error.empty())
    {
        std::fprintf(stderr, "match: %s\n", given.error.c_str());
        return 2;
    }
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    return runMatch(plan);
}

} // namespace tarvonel

int main(int argc, char **argv) { return tarvonel::matchMain(argc, argv); }
