#include "uci/timeAllotment.h"

#include <algorithm>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "search/searchLimits.h"
#include "search/worker.h"
#include "support/sharedData.h"
#include "uci/consoleOutput.h"
#include "uci/goCommand.h"

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
        engineOptions.threadCount = defaultThreads;
        engineOptions.ponderEnabled = false;
        engineOptions.moveOverhead = defaultMoveOverhead;
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
        {"black's clock", 1, false, "startpos moves e2e4", "wtime 1 btime 60000", 990, 4950, 1, 1.75F},
        {"32 threads", 32, false, "startpos", "wtime 60000", 1290, 6450, 1, 1.75F},
        {"129 threads", 129, false, "startpos", "wtime 60000", 1380, 6900, 1, 1.75F},
        {"unknown ply", 1, false, endgame + std::string("1"), "wtime 60000", 1847, 9235, 1, 1.75F},
        {"ply 239", 1, false, endgame + std::string("120"), "wtime 60000", 2640, 13200, 1, 1.75F},
        {"short clock", 1, false, "startpos", "wtime 10", 0, 1, 5, 1.37F},
        {"short clock, small increment", 1, false, "startpos", "wtime 200 winc 30", 14, 25, 5, 1.37F},
        {"last move of the control", 1, false, "startpos", "movestogo 1 wtime 1000", 657, 900, 1, 1.75F},
        {"given moves, opening", 1, false, "startpos", "movestogo 40 wtime 5400000", 88695, 443475, 1, 1.75F},
        {"four moves given, at least 40", 1, false, "startpos", "movestogo 4 wtime 150", 24, 40, 1, 1.44308F},
        {"no moves given counts as none", 1, false, "startpos", "wtime 60000 movestogo 0", 990, 4950, 1, 1.75F},
        {"nor do fewer than none", 1, false, "startpos", "wtime 60000 movestogo -3", 990, 4950, 1, 1.75F},
        {"increment beyond the clock", 1, false, "startpos", "movestogo 10 wtime 1000 winc 5000", 900, 900, 1, 1.37F},
        {"fixed time", 1, false, "startpos", "movetime 1000 wtime 10", 10000, 1000, 5, 1.37F},
        {"unused words and their moves", 1, false, "startpos", "searchmoves e2e4 wtime 60000", 990, 4950, 1, 1.75F},
        {"a word for a number ends the line", 1, false, "startpos", "winc x wtime 60000", 14850, 74250, 1, 1.75F},
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

// The stretch of the number of moves belongs to the game, not to the move.
TEST_F(timeAllotment, incrementFactorHoldsForTheGame)
{
    allotFor("startpos", "wtime 60000 winc 600");
    EXPECT_FLOAT_EQ(searchLimits.incrementFactor, 1.37F);
    readGo("wtime 60000");
    EXPECT_FLOAT_EQ(searchLimits.incrementFactor, 1.37F);
    searchLimits.newGame = true;
    readGo("wtime 60000");
    EXPECT_FLOAT_EQ(searchLimits.incrementFactor, 1.75F);
}

// The promise that all else rests on: some time, the hard limit not before the soft one, and within the clock.
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
