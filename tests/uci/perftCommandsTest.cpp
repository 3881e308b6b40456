#include "uci/commands.h"

#include <fstream>
#include <regex>
#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "search/transpositionTable.h"
#include "support/temporaryDirectory.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

/// Runs the command on a file of that text and returns its output and, in brackets, its result;
/// times are replaced by "T".
std::string outcome(int (*command)(const std::string &), const std::string &text)
{
    const temporaryDirectory directory;
    std::ofstream(directory / "file", std::ios::binary) << text;
    int result = -1;
    const std::string output = outputOf([&] { result = command(directory / "file"); });
    ttRelease();
    return std::regex_replace(output, std::regex("; [0-9]+\n"), "; T\n") + '[' + std::to_string(result) + ']';
}

TEST(regressionRun, countsAreComparedLineByLine)
{
    const std::string good = "Results of the perft checks is OK: 1\n[1]",
                      bad = "Results of the perft checks is OK: 0\n[0]",
                      goodQTV = "Results of the perft checks (0 = wrong, 1 = OK) : 1\n[1]",
                      badQTV = "Results of the perft checks (0 = wrong, 1 = OK) : 0\n[0]",
                      unreadable = "info string The perftFile has a line that cannot be read: ";
    const std::string start = startPositionFen, kings = "4k3/8/8/8/8/8/8/4K3 w - - 0 1",
                      mated = "7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", rook = "4k3/8/8/8/8/8/8/4K2R w K - 0 1";
    const std::string rookRight = rook + ";D1 15;D2 66;D3 1197;D4 7059;D5 133987;D6 764643\n",
                      matedRight = mated + ";D1 0;D2 0;D3 0;D4 0;D5 0;D6 0\n";
    struct
    {
        int (*command)(const std::string &);
        std::string text, outcome;
    } const cases[] = {
        {rtest, "full\r\nnonsense\n", good},
        {rtest, kings + "; 2 ; 25 \r\n\n" + mated + ";2;0", // blanks, line ends of another system, no last line end
         "1; " + kings + "; 2; 25; 25; T\n1; " + mated + "; 2; 0; 0; T\n" + good},
        {rtest, start + ";2;401\n" + start + ";1;20\n",
         "0; " + start + "; 2; 401; 400; T\n1; " + start + "; 1; 20; 20; T\n" + bad},
        {rtest, start + ";3;\n" + start + ";1;20\n", unreadable + start + ";3;\n" + bad},
        {rtest, start + ";128;1", unreadable + start + ";128;1\n" + bad},
        {rtest, "8/8/8/8/8/8/8/8 w - - 0 1;1;1", unreadable + "8/8/8/8/8/8/8/8 w - - 0 1;1;1\n" + bad},
        {rtestQTV, rookRight + matedRight, rook + "\nOkidoki\n" + mated + "\nOkidoki\n" + goodQTV},
        // a wrong count ends its line, not the run
        {rtestQTV, rook + ";D1 15;D2 65;D3 1;D4 1;D5 1;D6 1\n" + matedRight,
         rook + "\nWRONGGGGGGGGGGGG 2 correct : 65 berekend : 66\n" + mated + "\nOkidoki\n" + badQTV},
        {rtestQTV, start + ";D1 20\n" + matedRight, unreadable + start + ";D1 20\n" + badQTV},
    };
    for (const auto &c : cases)
        EXPECT_EQ(outcome(c.command, c.text), c.outcome) << c.text;

    for (int (*command)(const std::string &) : {rtest, rtestQTV})
        EXPECT_EQ(outputOf([&] { command(testing::TempDir()); }),
                  "There seems to be a problem with the perftFile. check of the move generator not executed\n");
}

TEST(perftCommand, printsBoardTimeAndCount)
{
    outputOf(positionCommand, "startpos moves e2e4");
    const std::string board = boardText(mainPos), output = outputOf([] { perftCommand(3); });
    const std::regex timing("[0-9]+ ns and [0-9.e+-]+ in seconds\nPerft results for depth: 3  13160  "
                            "Nodes per sec: [0-9.e+-]+\n");
    ASSERT_TRUE(output.starts_with(board));
    EXPECT_TRUE(std::regex_match(output.substr(board.size()), timing)) << output;
    EXPECT_EQ(boardText(mainPos), board);
}

} // namespace
} // namespace tarvonel
