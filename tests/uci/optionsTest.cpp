#include "uci/options.h"

#include <string>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/pos.h"
#include "eval/networkFile.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

class setOption : public testing::Test
{
  protected:
    void SetUp() override { rebuildWorkerPool(1); }
    void TearDown() override
    {
        rebuildWorkerPool(0);
        ttRelease();
        engineOptions = engineOptionValues();
        netLoaded = false;
    }
};

TEST_F(setOption, answersWithWhatItStores)
{
    struct
    {
        const char *text, *answer;
    } const cases[] = {
        {"name MoveOverhead value 0", "MoveOverhead set to : 1"},
        {"name MoveOverhead value 99999999999999999999", "MoveOverhead set to : 60000"},
        {"name MoveOverhead value -99999999999999999999", "MoveOverhead set to : 1"},
        {"whatever MoveOverhead value +12abc 9", "MoveOverhead set to : 12"},
        {"name Hash value 0", "Size of Hashtable set to : 1"},
        {"name Hash value 5", "Size of Hashtable set to : 5"},
        {"name Hash value - 5", "Hash needs a number, got: - 5"},
        {"name Threads value 3", "Number of threads set to : 3"},
        {"name Threads value two", "Threads needs a number, got: two"},
        {"name Threads value", "Threads needs a number, got: "},
        {"name Ponder value True", "Ponder set to : 0"},
        {"name Ponder", "Ponder set to : 0"},
        {"name Ponder value true", "Ponder set to : 1"},
        {"name SyzygyProbeDepth value 200", "SyzygyProbeDepth set to: 127"},
        {"name WindowsNumaNode value 7", "WindowsNumaNode set to: 4"},
        {"name UCI_Chess960 value 1", "UCI_Chess960 set to : 0"},
        {"name UCI_Chess960 value true", "UCI_Chess960 set to : 1"},
        {"name SyzygyPath", "No Syzygy tablebases found in directory :"},
        {"name SyzygyPath value a  b;c", "No Syzygy tablebases found in directory :a b;c"},
        {"name NetFile value /", "NetFile not found/correct: /. Unable to calculate the best move for a position."},
        {"name NetFile value <empty>", nullptr},
        {"name hash value 1", nullptr},
        {"name value value value", nullptr},
        {"", nullptr},
    };
    for (const auto &c : cases)
        EXPECT_EQ(outputOf(setOptionCommand, c.text),
                  c.answer == nullptr ? "" : std::string("info string ") + c.answer + "\n")
            << c.text;
    EXPECT_EQ(engineOptions.moveOverhead, 12);
    EXPECT_EQ(engineOptions.hashMegabytes, 5);
    EXPECT_EQ(ttMask + 1, 8 * ttClustersPerMegabyte);
    EXPECT_EQ(engineOptions.threadCount, 3);
    EXPECT_EQ(workerPool.size(), 3U);
    EXPECT_TRUE(engineOptions.ponderEnabled);
    EXPECT_EQ(engineOptions.syzygyProbeDepth, 127);
    EXPECT_EQ(engineOptions.numaNode, 4);
    EXPECT_TRUE(engineOptions.chess960);
    EXPECT_EQ(engineOptions.syzygyPath, "a b;c");
    EXPECT_EQ(engineOptions.netFileName, "<empty>");
}

// The standard rules have no castling move for these rights.
TEST_F(setOption, leavingChess960DropsItsCastlingRights)
{
    outputOf(setOptionCommand, "name UCI_Chess960 value true");
    outputOf(positionCommand, "fen 1k5r/8/8/8/8/8/8/RK5R w HAh - 0 1");
    EXPECT_EQ(mainPos.info[0].castling, whiteKingSide | whiteQueenSide | blackKingSide);
    outputOf(setOptionCommand, "name UCI_Chess960 value false");
    EXPECT_EQ(mainPos.info[0].castling, 0);
    outputOf(positionCommand, "startpos");
    outputOf(setOptionCommand, "name UCI_Chess960 value true");
    EXPECT_EQ(mainPos.info[0].castling, 15);
}

} // namespace
} // namespace tarvonel
