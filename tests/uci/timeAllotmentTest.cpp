#include "uci/goCommand.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "platform/clock.h"
#include "search/searchLimits.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "support/engineProcess.h"
#include "support/sharedData.h"
#include "support/syntheticNetwork.h"
#include "uci/console.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

void readGo(const std::string &go)
{
    std::istringstream words(go);
    prepareSearchLimits(words, 0);
}

/// Starts a new game in `position` and reads a `go` line.
void allotFor(const std::string &position, const std::string &go)
{
    searchLimits.gamePlyHint = 0;
    searchLimits.newGame = true;
    searchLimits.incrementFactor = 1.37F;
    outputOf(positionCommand, position);
    readGo(go);
}

void expectAllotment(int optimal, int maximum, float scale, float factor)
{
    EXPECT_EQ(searchLimits.optimalTime, optimal);
    EXPECT_EQ(searchLimits.maximumTime, maximum);
    EXPECT_EQ(searchLimits.timeScale, scale);
    EXPECT_NEAR(searchLimits.incrementFactor, factor, 1e-5);
}

class timeAllotment : public testing::Test
{
  protected:
    void TearDown() override
    {
        engineOptions = {};
        searchLimits = {};
        netLoaded = false;
    }
};

constexpr const char *endgame = "fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 ";

TEST_F(timeAllotment, sharesTheClockByThreadsPhaseAndControl)
{
    const struct
    {
        const char *name;
        int threads;
        bool ponder;
        std::string position, go;
        int optimal, maximum;
        float scale, factor;
    } cases[] = {
        {"defaults", 1, false, "startpos", "", 14850, 74250, 1, 1.75F},
        {"ponder option", 1, true, "startpos", "wtime 300000 winc 2000", 7477, 37385, 1, 1.44308F},
        {"black's clock", 1, false, "startpos moves e2e4", "wtime 1 winc 1 btime 300000 binc 2000", 6798, 33990, 1,
         1.44308F},
        {"unknown ply", 1, false, endgame + std::string("1"), "wtime 60000", 1847, 9235, 1, 1.75F},
        {"ply 239", 1, false, endgame + std::string("120"), "wtime 60000", 2640, 13200, 1, 1.75F},
        {"short clock", 1, false, "startpos", "wtime 10", 0, 1, 5, 1.37F},
        {"short clock, small increment", 1, false, "startpos", "wtime 200 winc 30", 14, 25, 5, 1.37F},
        {"four optimal times left", 1, false, "startpos", "wtime 1000 winc 200", 191, 450, 1, 1.37F},
        {"last move of the control", 1, false, "startpos", "movestogo 1 wtime 1000", 657, 900, 1, 1.75F},
        {"given moves, opening", 1, false, "startpos", "movestogo 40 wtime 5400000", 88695, 443475, 1, 1.75F},
        {"four moves given, at least 40", 1, false, "startpos", "movestogo 4 wtime 150", 24, 40, 1, 1.44308F},
        {"no moves given counts as none", 1, false, "startpos", "wtime 60000 movestogo 0", 990, 4950, 1, 1.75F},
        {"nor do fewer than none", 1, false, "startpos", "wtime 60000 movestogo -3", 990, 4950, 1, 1.75F},
        {"increment beyond the clock", 1, false, "startpos", "movestogo 10 wtime 1000 winc 5000", 900, 900, 1, 1.37F},
        {"fixed time", 1, false, "startpos", "movetime 1000 wtime 10", 10000, 1000, 5, 1.37F},
        {"unused words and their moves", 1, false, "startpos", "searchmoves e2e4 wtime 60000", 990, 4950, 1, 1.75F},
        {"a word for a number ends the line", 1, false, "startpos", "winc x wtime 60000", 14850, 74250, 1, 1.75F},
        {"a negative number does not", 1, false, "startpos", "nodes -5 wtime 60000", 990, 4950, 1, 1.75F},
        {"no number at the end", 1, false, "startpos", "wtime 60000 winc", 990, 4950, 1, 1.75F},
    };
    for (const auto &c : cases)
    {
        SCOPED_TRACE(c.name);
        engineOptions.threadCount = c.threads;
        engineOptions.ponderEnabled = c.ponder;
        allotFor(c.position, c.go);
        expectAllotment(c.optimal, c.maximum, c.scale, c.factor);
    }
}

TEST_F(timeAllotment, rowsHoldUpToTheirBound)
{
    allotFor("startpos", "");
    const auto optimalFor = [](const std::string &go, int threads, int ply)
    {
        engineOptions.threadCount = threads;
        searchLimits.gamePlyHint = ply;
        readGo(go);
        return searchLimits.optimalTime;
    };
    const std::string guessed = "wtime 60000", given = "wtime 60000 movestogo 20";
    const struct
    {
        std::string go;
        int threads, ply, optimal;
    } cases[] = {
        {guessed, 1, 17, 990},    {guessed, 3, 17, 990},    {guessed, 4, 17, 1140},  {guessed, 31, 17, 1140},
        {guessed, 32, 17, 1290},  {guessed, 128, 0, 1290},  {guessed, 129, 0, 1380}, {guessed, 256, 0, 1380},
        {guessed, 1, 18, 1799},   {guessed, 1, 50, 1799},   {guessed, 1, 51, 1584},  {guessed, 1, 80, 1584},
        {guessed, 1, 81, 1980},   {guessed, 1, 200, 1980},  {guessed, 1, 201, 2640}, {guessed, 1, 1023, 2640},
        {guessed, 1, 1024, 1848}, {guessed, 1, 1025, 2640}, {given, 3, 17, 1971},    {given, 3, 18, 2409},
        {given, 3, 50, 2409},     {given, 3, 51, 2190},     {given, 4, 51, 2400},
    };
    for (const auto &c : cases)
        EXPECT_NEAR(optimalFor(c.go, c.threads, c.ply), c.optimal, 1)
            << c.go << ", " << c.threads << " threads, ply " << c.ply;
}

// From the sixth iteration on, each result moves the factor, and the soft limit with it.
TEST_F(timeAllotment, iterationsStretchAndShrinkTheSoftLimit)
{
    const struct
    {
        int changes;
        double factor;
    } iterations[] = {{0, 0.9}, {1, 0.81}, {1, 0.729}, {0, 0.6561}, {0, 0.6}, {0, 0.6},  {2, 1.4},  {2, 1.52},
                      {5, 2.0}, {9, 2.0},  {0, 1.8},   {3, 2.0},    {1, 1.8}, {2, 1.84}, {0, 1.656}};
    searchLimitValues limits{.optimalTime = 1000};
    double factor = 1.0;
    for (const auto &[changes, expected] : iterations)
    {
        factor = nextTimeFactor(factor, changes);
        EXPECT_NEAR(factor, expected, 1e-9);
        for (const int scale : {1, 5})
        {
            limits.timeScale = static_cast<float>(scale);
            const auto limit = static_cast<std::uint64_t>(1000 * expected / scale);
            EXPECT_FALSE(isSoftLimitPassed(limits, limit - 1, factor)) << factor << " by " << scale;
            EXPECT_TRUE(isSoftLimitPassed(limits, limit + 2, factor)) << factor << " by " << scale;
        }
    }
}

// The time that a `go` waits for an earlier search counts.
TEST_F(timeAllotment, theClockRunsWhileAnEarlierSearchIsAwaited)
{
    useSyntheticNetwork();
    engineOptions.hashMegabytes = 1;
    rebuildWorkerPool(1);
    ttResize(1);
    outputOf(
        []
        {
            std::istringstream position("startpos"), first("movetime 1000"), second("depth 1");
            positionCommand(position);
            goCommand(first);
            const std::int64_t before = millisecondsNow();
            goCommand(second);
            EXPECT_GE(millisecondsNow() - before, 500);
            EXPECT_LT(searchLimits.startTimeMs - before, 500);
            rebuildWorkerPool(0);
        });
    ttRelease();
}

// The factor is computed once per game.
TEST_F(timeAllotment, incrementFactorHoldsForTheGame)
{
    engineOptions.hashMegabytes = 1;
    engineOptions.netFileName = networkDirectory() / defaultNetFileName;
    const std::string first = "ucinewgame\ngo depth 1 wtime 60000 winc 600\n", second = "go depth 1 wtime 60000\n";
    for (const auto &[lines, factor] : {std::pair{first, 1.37F},
                                        {first + second, 1.37F},
                                        {first + first + second, 1.37F},
                                        {first + "position startpos moves e2e4\nucinewgame\n" + second, 1.75F}})
    {
        std::istringstream input(lines);
        outputOf([&] { EXPECT_EQ(runConsole(input, {}), 0); });
        EXPECT_FLOAT_EQ(searchLimits.incrementFactor, factor) << lines;
        EXPECT_EQ(searchLimits.gamePlyHint, 0) << lines;
    }
}

TEST_F(timeAllotment, aNodeLimitHoldsWhereTheProgramObeysIt)
{
    engineOptions.hashMegabytes = 1;
    engineOptions.netFileName = networkDirectory() / defaultNetFileName;
    static std::uint64_t nodes;
    for (const std::uint64_t limit : {5000, 9000})
    {
        std::istringstream input("go nodes " + std::to_string(limit)); // the last line need not have an end
        outputOf(
            [&]
            {
                runConsole(input, {},
                           {.reports = {.answer = [](moveCode, moveCode, colour, const pos &)
                                        { nodes = theBoss().result.nodes; }},
                            .obeysNodes = true});
            });
        EXPECT_GE(nodes, limit);
        EXPECT_LT(nodes, limit + 1000);
    }
}

// Whatever the numbers: some time, the hard limit not below the soft one, and both within the clock.
TEST_F(timeAllotment, anyNumbersGiveSoundLimits)
{
    const std::string numbers[] = {"-2147483648", "-1", "0", "1", "99", "2147483647"};
    std::vector<std::string> lines;
    for (const std::string &time : numbers)
        for (const std::string &increment : numbers)
            for (const std::string &moves : numbers)
                lines.push_back("wtime " + time + " winc " + increment + " movestogo " + moves);
    for (const int overhead : {minMoveOverhead, maxMoveOverhead})
        for (const std::string &go : lines)
        {
            SCOPED_TRACE(go);
            engineOptions.moveOverhead = overhead;
            allotFor("startpos", go);
            EXPECT_GE(searchLimits.optimalTime, 0);
            EXPECT_GE(searchLimits.maximumTime, std::max<int>(searchLimits.optimalTime, 1));
            EXPECT_LE(std::int64_t{searchLimits.maximumTime},
                      std::max<std::int64_t>(std::int64_t{searchLimits.clock[white]} - overhead, 1));
            EXPECT_GE(searchLimits.incrementFactor, 1.37F);
            EXPECT_LE(searchLimits.incrementFactor, 1.75F);
        }
}

/// "threads N ponder B; position ...; go ...; optimal maximum scale factor"
TEST_F(timeAllotment, agreesWithRecordedFigures)
{
    std::ifstream file(sharedDataPath("vectors/allotment.txt"));
    if (!file)
        GTEST_SKIP() << "no recorded figures here";
    int compared = 0;
    for (std::string text; std::getline(file, text);)
    {
        std::istringstream fields(text);
        std::string options, position, go, word, ponder;
        std::getline(fields, options, ';');
        std::getline(fields, position, ';');
        std::getline(fields, go, ';');
        // The figures of a `go` without a word were recorded before the allotment.
        if (go == " go ")
            continue;
        SCOPED_TRACE(text);
        int threads = 0, optimal = 0, maximum = 0;
        float scale = 0, factor = 0;
        std::istringstream(options) >> word >> threads >> word >> ponder;
        ASSERT_TRUE(fields >> optimal >> maximum >> scale >> factor);
        engineOptions.threadCount = threads;
        engineOptions.ponderEnabled = ponder == "true";
        allotFor(position.substr(std::string(" position ").size()), go.substr(std::string(" go ").size()));
        const int available = searchLimits.clock[mainPos.sideToMove] - engineOptions.moveOverhead;
        if (searchLimits.moveTime == 0 && maximum > available) // recorded with limits beyond the clock
            continue;
        expectAllotment(optimal, maximum, scale, factor);
        ++compared;
    }
    EXPECT_GT(compared, 0);
}

} // namespace
} // namespace tarvonel
