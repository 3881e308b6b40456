#include "match/matchRun.h"

#include <cinttypes>
#include <cstdio>
#include <exception>
#include <mutex>
#include <sstream>
#include <stdexcept>
#include <thread>

#include "interrupts.h"
#include "textFile.h"
#include "words.h"

namespace tarvonel
{

namespace
{

constexpr double sprtError = 0.05;
constexpr std::int64_t quietInterval = 20; ///< games between reports of a quiet match

/// What the threads of a match share.
struct matchState
{
    const matchPlan &plan;
    std::ostream &report;
    std::mutex lock{}; ///< guards all below, and the report and the files
    std::int64_t nextGame = 0;
    std::map<std::int64_t, int> points{}; ///< as in the tally file
    matchResult result{};
    bool isDecided = false;
    std::exception_ptr failure{};
};

const std::string &openingOf(const matchPlan &plan, std::int64_t number)
{
    return plan.openings[static_cast<std::size_t>(number / 2) % plan.openings.size()];
}

// --- texts ---

std::string resultText(const finishedGame &game)
{
    static const char *const texts[] = {"0-1", "1/2-1/2", "1-0"};
    return game.whitePoints ? texts[*game.whitePoints] : "*";
}

std::string tallyText(const matchState &state)
{
    const matchPlan &plan = state.plan;
    const matchTally &tally = state.result.tally;
    const eloEstimate estimate = estimateElo(tally);
    std::ostringstream text;
    char figures[128];
    std::snprintf(figures, sizeof figures, ": +%" PRId64 " =%" PRId64 " -%" PRId64 "  %.1f%%  Elo %+.1f +/- %.1f",
                  tally.wins, tally.draws, tally.losses, estimate.score * 100, estimate.elo, estimate.margin);
    text << plan.engines[0].name << " - " << plan.engines[1].name << figures;
    if (!plan.sprt.empty())
    {
        std::snprintf(figures, sizeof figures, "  LLR %.2f (%.2f, %.2f) [%g, %g]",
                      logLikelihoodRatio(tally, plan.sprt[0], plan.sprt[1]), lowerBound(sprtError, sprtError),
                      upperBound(sprtError, sprtError), plan.sprt[0], plan.sprt[1]);
        text << figures;
    }
    if (state.result.faults > 0)
        text << "  faults " << state.result.faults;
    return text.str();
}

std::string gameText(const matchPlan &plan, const finishedGame &game, std::int64_t number, int whiteIndex)
{
    pgnGame text;
    text.tags = {{"Event", "match"},
                 {"Site", "?"},
                 {"Date", localTimeText("%Y.%m.%d")},
                 {"Round", std::to_string(number + 1)},
                 {"White", plan.engines[whiteIndex].name},
                 {"Black", plan.engines[1 - whiteIndex].name},
                 {"Result", resultText(game)},
                 {"SetUp", "1"},
                 {"FEN", openingOf(plan, number)}};
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

std::string tallyHead(const matchPlan &plan) { return plan.engines[0].name + " - " + plan.engines[1].name; }

// --- the tally ---

void countPoints(matchTally &tally, const std::map<std::int64_t, int> &others, std::int64_t number, int points)
{
    countGame(tally, points);
    const auto partner = others.find(number ^ 1);
    if (partner != others.end())
        countPair(tally, points + partner->second);
}

/// Takes over the games that the tally file holds.
void resumeTally(matchState &state)
{
    const std::string &file = state.plan.tallyFile;
    if (file.empty())
        return;
    const std::vector<std::string> lines = readLines(file);
    if (lines.empty())
        appendText(file, tallyHead(state.plan) + "\n");
    else if (lines[0] != tallyHead(state.plan))
        throw std::runtime_error(file + " belongs to another match: " + lines[0]);
    state.points = readTally(file);
    state.result.tally = tallyOf(state.points);
    if (!state.points.empty())
        state.report << "going on after " << state.points.size() << " games\n";
}

void decideTest(matchState &state)
{
    if (state.plan.sprt.empty())
        return;
    const double ratio = logLikelihoodRatio(state.result.tally, state.plan.sprt[0], state.plan.sprt[1]);
    state.isDecided = ratio <= lowerBound(sprtError, sprtError) || ratio >= upperBound(sprtError, sprtError);
}

void appendToFile(const std::string &file, const std::string &text)
{
    if (!file.empty())
        appendText(file, text);
}

void noteGame(matchState &state, const finishedGame &game, std::int64_t number, int whiteIndex)
{
    const matchPlan &plan = state.plan;
    const std::lock_guard guard(state.lock);
    appendToFile(plan.pgnFile, gameText(plan, game, number, whiteIndex));
    if (game.fault != gameFault::none)
    {
        ++state.result.faults;
        appendToFile(plan.faultFile, faultText(game, number));
        state.report << "FAULT in " << faultHead(game, number);
    }
    if (!game.whitePoints)
    {
        state.report << "game " << number + 1 << " not played: " << game.reason << '\n' << std::flush;
        return;
    }
    const int points = whiteIndex == 0 ? *game.whitePoints : 2 - *game.whitePoints;
    appendToFile(plan.tallyFile, std::to_string(number) + " " + std::to_string(points) + "\n");
    countPoints(state.result.tally, state.points, number, points);
    state.points[number] = points;
    if (!plan.quiet)
        state.report << "game " << number + 1 << ": " << resultText(game) << ", " << game.reason << " ("
                     << game.moves.size() << " plies)\n";
    if (!plan.quiet || state.points.size() % quietInterval == 0)
        state.report << tallyText(state) << '\n' << std::flush;
    decideTest(state);
}

// --- playing ---

/// The number of the next game to play, or -1.
std::int64_t takeGame(matchState &state)
{
    const std::lock_guard guard(state.lock);
    while (state.points.contains(state.nextGame))
        ++state.nextGame;
    const bool isOver = interrupted || state.isDecided || state.failure || state.nextGame >= state.plan.games;
    return isOver ? -1 : state.nextGame++;
}

void startEngines(const matchPlan &plan, matchEngine (&engines)[2])
{
    for (int i = 0; i < 2; ++i)
    {
        engines[i].settings = &plan.engines[i];
        if (engines[i].process.processId < 0)
            startEngine(engines[i]);
    }
}

/// One thread of the match, with its own pair of engines.
void playInThread(matchState &state)
{
    matchEngine engines[2];
    try
    {
        for (std::int64_t number = takeGame(state); number >= 0; number = takeGame(state))
        {
            startEngines(state.plan, engines);
            gamePlan plan = state.plan.game;
            plan.openingFen = openingOf(state.plan, number);
            const int whiteIndex = static_cast<int>(number % 2);
            noteGame(state, playGame(engines[whiteIndex], engines[1 - whiteIndex], plan), number, whiteIndex);
        }
    }
    catch (const std::exception &)
    {
        const std::lock_guard guard(state.lock);
        state.failure = std::current_exception();
    }
    stopEngine(engines[0]);
    stopEngine(engines[1]);
}

} // namespace

std::map<std::int64_t, int> readTally(const std::string &path)
{
    std::map<std::int64_t, int> points;
    const std::vector<std::string> lines = readLines(path);
    for (std::size_t i = 1; i < lines.size(); ++i)
    {
        std::int64_t number = 0;
        int half = 0;
        if (!(std::istringstream(lines[i]) >> number >> half) || number < 0 || half < 0 || half > 2)
            throw std::runtime_error(path + ": line " + std::to_string(i + 1) + " is damaged");
        points[number] = half;
    }
    return points;
}

matchTally tallyOf(const std::map<std::int64_t, int> &points)
{
    matchTally tally;
    std::map<std::int64_t, int> counted;
    for (const auto &[number, half] : points)
    {
        countPoints(tally, counted, number, half);
        counted[number] = half;
    }
    return tally;
}

matchResult playMatch(const matchPlan &plan, std::ostream &report)
{
    matchState state{.plan = plan, .report = report};
    resumeTally(state);
    decideTest(state);
    std::vector<std::thread> threads;
    for (int i = 0; i < plan.concurrency; ++i)
        threads.emplace_back(playInThread, std::ref(state));
    for (std::thread &thread : threads)
        thread.join();
    if (state.failure)
        std::rethrow_exception(state.failure);
    report << tallyText(state) << '\n' << std::flush;
    return state.result;
}

} // namespace tarvonel
