#include "uci/options.h"

#include <filesystem>
#include <fstream>
#include <string>

#include <gtest/gtest.h>
#ifdef __linux__
#include <sys/resource.h>
#include <unistd.h>
#endif

#include "board/engineOptions.h"
#include "board/pos.h"
#include "eval/networkFile.h"
#include "search/searchSupport.h"
#include "search/transpositionTable.h"
#include "search/worker.h"
#include "support/syntheticNetwork.h"
#include "support/temporaryDirectory.h"
#include "tablebase/tableRegistry.h"
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

TEST_F(setOption, answersWithTheValueThatTookEffect)
{
    struct
    {
        const char *text, *answer;
    } const cases[] = {
        {"name MoveOverhead value 50", "info string MoveOverhead set to : 50\n"},
        {"name MoveOverhead value 0", "info string MoveOverhead set to : 1\n"},
        {"name MoveOverhead value 99999999999999999999", "info string MoveOverhead set to : 60000\n"},
        {"name MoveOverhead value -99999999999999999999", "info string MoveOverhead set to : 1\n"},
        {"name MoveOverhead value +12abc", "info string MoveOverhead set to : 12\n"},
        {"whatever MoveOverhead value 8 9", "info string MoveOverhead set to : 8\n"},
        {"name Hash value 0", "info string Size of Hashtable set to : 1\n"},
        {"name Threads value 2", "info string Number of threads set to : 2\n"},
        {"name Threads value -1", "info string Number of threads set to : 1\n"},
        {"name Ponder value true", "info string Ponder set to : 1\n"},
        {"name Ponder value True", "info string Ponder set to : 0\n"},
        {"name Ponder", "info string Ponder set to : 0\n"},
        {"name SyzygyProbeDepth value 200", "info string SyzygyProbeDepth set to: 127\n"},
        {"name WindowsNumaNode value 7", "info string WindowsNumaNode set to: 4\n"},
        {"name UCI_Chess960 value true", "info string UCI_Chess960 set to : 1\n"},
        {"name UCI_Chess960 value 1", "info string UCI_Chess960 set to : 0\n"},
        {"name SyzygyPath value <empty>", "info string No Syzygy tablebases found in directory :<empty>\n"},
        {"name SyzygyPath", "info string No Syzygy tablebases found in directory :\n"},
        {"name SyzygyPath value /no  such/place",
         "info string No Syzygy tablebases found in directory :/no such/place\n"},
        {"name NetFile value /no/such file",
         "info string NetFile not found/correct: /no/such file. Unable to calculate the best move for a position.\n"},
        {"name NetFile value /", "info string NetFile not found/correct: /. Unable to calculate the best move for a "
                                 "position.\n"},
        {"name NetFile value <empty>", ""},
        {"name hash value 1", ""},
        {"name Clear Hash", ""},
        {"", ""},
        {"name value value value", ""},
        {"name Threads value two", "info string Threads needs a number, got: two\n"},
        {"name Threads value", "info string Threads needs a number, got: \n"},
        {"name Hash value -x", "info string Hash needs a number, got: -x\n"},
        {"name Hash value - 5", "info string Hash needs a number, got: - 5\n"},
    };
    for (const auto &c : cases)
        EXPECT_EQ(outputOf(setOptionCommand, c.text), c.answer) << c.text;
}

TEST_F(setOption, storesWhatItAnswers)
{
    for (const char *text :
         {"name Threads value 3", "name Hash value 5", "name Ponder value true", "name MoveOverhead value 7",
          "name SyzygyPath value a  b;c", "name SyzygyProbeDepth value 9", "name WindowsNumaNode value 2",
          "name NetFile value <empty>", "name UCI_Chess960 value true"})
        outputOf(setOptionCommand, text);
    EXPECT_EQ(engineOptions.threadCount, 3);
    EXPECT_EQ(workerPool.size(), 3U);
    EXPECT_EQ(engineOptions.hashMegabytes, 5);
    EXPECT_EQ(ttMask + 1, 8 * ttClustersPerMegabyte);
    EXPECT_TRUE(engineOptions.ponderEnabled);
    EXPECT_EQ(engineOptions.moveOverhead, 7);
    EXPECT_EQ(engineOptions.syzygyPath, "a b;c");
    EXPECT_EQ(engineOptions.syzygyProbeDepth, 9);
    EXPECT_EQ(engineOptions.numaNode, 2);
    EXPECT_EQ(engineOptions.netFileName, "<empty>");
    EXPECT_TRUE(engineOptions.chess960);

    outputOf(setOptionCommand, "name Threads value none");
    EXPECT_EQ(engineOptions.threadCount, 3) << "no number, no change";
}

#ifdef __linux__
TEST_F(setOption, threadsThatTheSystemGrantsAreThoseThatCount)
{
    if (isSanitized)
        GTEST_SKIP() << "the sanitizers need all addresses";
    constexpr rlim_t someWorkers = 200'000'000;
    rlimit before{};
    getrlimit(RLIMIT_AS, &before);
    std::size_t pages = 0;
    std::ifstream("/proc/self/statm") >> pages;
    const rlimit tight{pages * static_cast<rlim_t>(getpagesize()) + someWorkers, before.rlim_max};
    setrlimit(RLIMIT_AS, &tight);
    const std::string answer = outputOf(setOptionCommand, "name Threads value 256");
    setrlimit(RLIMIT_AS, &before);
    const std::string granted = std::to_string(workerPool.size());
    EXPECT_EQ(answer, "info string Only " + granted +
                          " threads could be started\ninfo string Number of threads set to : " + granted + "\n");
    EXPECT_EQ(std::to_string(engineOptions.threadCount), granted);
}
#endif

TEST_F(setOption, newThreadsOnlyWhenTheNodeChanges)
{
    outputOf(setOptionCommand, "name WindowsNumaNode value 1");
    workerPool[0]->contHistoryOneBack[0][0] = 1;
    outputOf(setOptionCommand, "name WindowsNumaNode value 1");
    EXPECT_EQ(workerPool[0]->contHistoryOneBack[0][0], 1);
    outputOf(setOptionCommand, "name WindowsNumaNode value 0");
    EXPECT_EQ(workerPool[0]->contHistoryOneBack[0][0], 0);
}

TEST_F(setOption, netFileIsReadAtOnce)
{
    const temporaryDirectory directory;
    const std::string name = directory / "a net.bin";
    ASSERT_TRUE(writeSyntheticNetwork(name));
    EXPECT_EQ(outputOf(setOptionCommand, "name NetFile value " + name),
              "Net read\ninfo string NetFile used : " + name + "\n");
    EXPECT_TRUE(netLoaded);

    EXPECT_EQ(outputOf(setOptionCommand, "name NetFile value <empty>"), "");
    EXPECT_TRUE(netLoaded) << "the network in use stays";
    EXPECT_EQ(engineOptions.netFileName, "<empty>");

    std::filesystem::resize_file(name, std::filesystem::file_size(name) - 1);
    EXPECT_EQ(outputOf(setOptionCommand, "name NetFile value " + name),
              "info string NetFile not found/correct: " + name +
                  ". Unable to calculate the best move for a position.\n");
    EXPECT_FALSE(netLoaded);
}

TEST_F(setOption, syzygyPathCountsTheTablesFound)
{
    const temporaryDirectory directory;
    const std::string path = directory / "with blank;/no/such/place";
    std::filesystem::create_directory(directory / "with blank");
    // only the size of a table file is looked at before its first use
    std::ofstream(directory / "with blank/KQvK.rtbw") << std::string(64 + 16, '\0');
    EXPECT_EQ(outputOf(setOptionCommand, "name SyzygyPath value " + path),
              "info string Syzygy tablebases used from directory : " + path + "\n");
    EXPECT_EQ(tableCardinality, 3U);
    EXPECT_EQ(outputOf(setOptionCommand, "name SyzygyPath value <empty>"),
              "info string No Syzygy tablebases found in directory :<empty>\n");
    EXPECT_EQ(tableCardinality, 0U);
}

// Rules that do not know the castling of the position in place must not be left with its rights.
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
