#include "uci/perftCommands.h"

#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "search/transpositionTable.h"
#include "support/temporaryDirectory.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

constexpr const char *noFileMessage =
    "There seems to be a problem with the perftFile. check of the move generator not executed\n";
constexpr const char *kingsFen = "4k3/8/8/8/8/8/8/4K3 w - - 0 1";

class regressionRun : public testing::Test
{
  protected:
    void TearDown() override { ttRelease(); }

    /// Runs the command on a file of that text; times are replaced by "T".
    std::string run(int (*command)(const std::string &), const std::string &text)
    {
        std::ofstream(directory / "file", std::ios::binary) << text;
        const std::string output = outputOf([&] { result = command(directory / "file"); });
        return std::regex_replace(output, std::regex("; [0-9]+\n"), "; T\n");
    }

    temporaryDirectory directory;
    int result = -1;
};

TEST_F(regressionRun, countsAreComparedLineByLine)
{
    const std::string good = "Results of the perft checks is OK: 1\n", bad = "Results of the perft checks is OK: 0\n",
                      goodQTV = "Results of the perft checks (0 = wrong, 1 = OK) : 1\n",
                      badQTV = "Results of the perft checks (0 = wrong, 1 = OK) : 0\n";
    const std::string start = startPositionFen, kings = kingsFen, mated = "7k/6Q1/6K1/8/8/8/8/8 b - - 0 1",
                      rook = "4k3/8/8/8/8/8/8/4K2R w K - 0 1";
    const std::string rookRight = rook + ";D1 15;D2 66;D3 1197;D4 7059;D5 133987;D6 764643\n",
                      matedRight = mated + ";D1 0;D2 0;D3 0;D4 0;D5 0;D6 0\n";
    struct
    {
        int (*command)(const std::string &);
        std::string text, output;
        int result;
    } const cases[] = {
        {rtest, "", good, 1},
        {rtest, "extended\nnonsense\n", good, 1},
        {rtest, "full\r\nnonsense\n", good, 1},
        {rtest, start + ";3;8902\n", "1; " + start + "; 3; 8902; 8902; T\n" + good, 1},
        {rtest, kings + "; 2 ; 25 \r\n\n" + mated + ";2;0", // blanks, line ends of another system, no last line end
         "1; " + kings + "; 2; 25; 25; T\n1; " + mated + "; 2; 0; 0; T\n" + good, 1},
        {rtest, start + ";2;401\n" + start + ";1;20\n",
         "0; " + start + "; 2; 401; 400; T\n1; " + start + "; 1; 20; 20; T\n" + bad, 0},
        {rtestQTV, "", goodQTV, 1},
        {rtestQTV, rookRight + matedRight, rook + "\nOkidoki\n" + mated + "\nOkidoki\n" + goodQTV, 1},
        // a wrong count ends its line, not the run
        {rtestQTV, rook + ";D1 15;D2 65;D3 1;D4 1;D5 1;D6 1\n" + matedRight,
         rook + "\nWRONGGGGGGGGGGGG 2 correct : 65 berekend : 66\n" + mated + "\nOkidoki\n" + badQTV, 0},
    };
    for (const auto &c : cases)
    {
        EXPECT_EQ(run(c.command, c.text), c.output) << c.text;
        EXPECT_EQ(result, c.result) << c.text;
    }
    EXPECT_EQ(ttMask + 1, 128 * ttClustersPerMegabyte);
}

TEST_F(regressionRun, unreadableLinesAndFilesEndTheRun)
{
    const std::string start = startPositionFen;
    for (const std::string &text :
         {std::string("nonsense"), start, start + ";3", start + ";x;1", start + ";3;", start + ";0;1", start + ";128;1",
          start + ";99999999999;1", start + ";1;99999999999999999999999", std::string("8/8 w;1;1"),
          std::string("8/8/8/8/8/8/8/8 w - - 0 1;1;1"), std::string("4k3/8/8/8/8/8/8/4R1K1 w - - 0 1;1;1"),
          std::string(1, '\0'), std::string(100000, ';')})
        for (int (*command)(const std::string &) : {rtest, rtestQTV})
        {
            const std::string output = run(command, text + "\n" + start + ";1;20\n");
            EXPECT_TRUE(output.starts_with("info string The perftFile has a line that cannot be read: "))
                << text.substr(0, 100);
            EXPECT_EQ(output.find("1; "), std::string::npos) << "the line behind it was counted";
            EXPECT_EQ(result, 0);
        }
    for (int (*command)(const std::string &) : {rtest, rtestQTV})
        for (const std::string &file : {directory / "none", directory.path})
        {
            EXPECT_EQ(outputOf([&] { result = command(file); }), noFileMessage);
            EXPECT_EQ(result, 0);
        }
}

TEST(perftCommand, printsBoardTimeAndCount)
{
    outputOf(positionCommand, "startpos moves e2e4");
    const std::string number = "[0-9.e+-]+";
    const auto timing = [&](const std::string &depth, const std::string &nodes)
    {
        return std::regex("[0-9]+ ns and " + number + " in seconds\nPerft results for depth: " + depth + "  " + nodes +
                          "  Nodes per sec: " + number + "\n");
    };
    const std::string board = boardText(mainPos);
    const std::uint64_t key = mainPos.key;
    const std::string current = outputOf([] { perftCommand(3); });
    ASSERT_TRUE(current.starts_with(board));
    EXPECT_TRUE(std::regex_match(current.substr(board.size()), timing("3", "13160"))) << current;

    const std::string other = outputOf([] { perftCommand(2, kingsFen); });
    EXPECT_TRUE(std::regex_match(other.substr(board.size()), timing("2", "25"))) << other;
    EXPECT_EQ(outputOf([] { perftCommand(2, "8/8 w"); }), "info string Invalid position: 8/8 w\n");
    EXPECT_EQ(mainPos.key, key);
}

} // namespace
} // namespace tarvonel
