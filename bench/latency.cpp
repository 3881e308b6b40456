// How late an engine answers: from `stop` to `bestmove`, and from the limit of `movetime` and of the
// clock to `bestmove`, on cores with nothing else to do and beside threads that never rest.
//
//   latency --engine ./tarvonel --dir build/bench
//
// A clock can be answered before its limit, at the end of an iteration: such a move counts below 0.
#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <iterator>
#include <random>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

#include "match/matchEngine.h"
#include "platform/clock.h"
#include "programMain.h"
#include "uci/benchPositions.h"
#include "words.h"

using namespace tarvonel;

namespace
{

constexpr int threadCounts[] = {1, 2, 4};
constexpr int moveMs = 40;     ///< the limit of `movetime`, and what the clock leaves
constexpr int overheadMs = 50; ///< kept back from the clock
constexpr int patienceMs = 10000;
constexpr std::int64_t nanosecondsPerMs = 1'000'000;

/// What is timed. With `isStopped` the time runs from `stop`, sent at some moment about the limit.
struct questionRow
{
    const char *name;
    std::string go;
    bool isStopped;
};
const std::string clockLeft = std::to_string(moveMs + overheadMs);
const questionRow questions[] = {
    {"stop", "go infinite", true},
    {"movetime", "go movetime " + std::to_string(moveMs), false},
    {"clock", "go movestogo 1 wtime " + clockLeft + " btime " + clockLeft, false},
};

/// Milliseconds by which the answer came late.
double lateness(matchEngine &engine, const questionRow &question, const char *fen, std::mt19937 &random)
{
    sendLine(engine.process, std::string("position fen ") + fen);
    std::int64_t due = nanosecondsNow() + moveMs * nanosecondsPerMs;
    sendLine(engine.process, question.go);
    if (question.isStopped)
    {
        std::this_thread::sleep_for(std::chrono::microseconds(moveMs * 500 + random() % (moveMs * 1000)));
        due = nanosecondsNow();
        sendLine(engine.process, "stop");
    }
    for (std::string line; receiveLine(engine.process, line, millisecondsNow() + patienceMs) == lineResult::read;)
        if (line.starts_with("bestmove"))
            return static_cast<double>(nanosecondsNow() - due) / nanosecondsPerMs;
    throw std::runtime_error("no answer to " + question.go);
}

void printRow(const char *load, int threads, const char *name, std::vector<double> late)
{
    std::ranges::sort(late);
    const std::size_t last = late.size() - 1;
    std::printf("%-7s %7d  %-9s %8.2f %8.2f %8.2f\n", load, threads, name, late[last / 2], late[last * 99 / 100],
                late[last]);
    std::fflush(stdout);
}

void measure(engineSettings settings, int moves, const char *load)
{
    std::mt19937 random(1);
    for (const int threads : threadCounts)
    {
        settings.options = {"Hash=16", "MoveOverhead=" + std::to_string(overheadMs),
                            "Threads=" + std::to_string(threads)};
        matchEngine engine;
        engine.settings = &settings;
        startEngine(engine);
        for (const questionRow &question : questions)
        {
            std::vector<double> late;
            for (std::size_t i = 0; late.size() < static_cast<std::size_t>(moves); ++i)
                if (const benchPosition &entry = benchPositions[i % std::size(benchPositions)]; !entry.chess960)
                    late.push_back(lateness(engine, question, entry.fen, random));
            printRow(load, threads, question.name, late);
        }
        stopEngine(engine);
    }
}

struct latencyPlan
{
    std::string command;
    int moves = 200;
    engineSettings settings;
};

void declareOptions(CLI::App &app, latencyPlan &plan)
{
    plan.command = "./tarvonel";
    plan.settings.name = "the engine";
    app.add_option("--engine", plan.command, "the engine: its program and words, in one argument");
    app.add_option("--dir", plan.settings.directory, "where it runs; relative program paths are seen from there");
    app.add_option("--moves", plan.moves, "of each row")->check(numberFrom(1, 1'000'000));
}

int measureAll(latencyPlan &plan)
{
    plan.settings.command = splitWords(plan.command);
    std::printf("cores   threads  limit       median     99 %%    worst (ms)\n");
    measure(plan.settings, plan.moves, "idle");
    std::vector<std::jthread> load;
    for (int i = 0; i < coreCount(); ++i)
        load.emplace_back(
            [](const std::stop_token &end)
            {
                while (!end.stop_requested())
                    continue;
            });
    measure(plan.settings, plan.moves, "loaded");
    return 0;
}

} // namespace

int main(int argc, char **argv)
{
    latencyPlan plan;
    return programMain(
        argc, argv, "Measures how late an engine answers.", [&](CLI::App &app) { declareOptions(app, plan); },
        [&] { return measureAll(plan); });
}
