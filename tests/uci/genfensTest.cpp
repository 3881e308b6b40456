// Openings for games on other machines, requested on the command line.

#include <algorithm>
#include <fstream>
#include <regex>
#include <set>

#include <gtest/gtest.h>

#include <sys/stat.h>

#include "board/setup.h"
#include "support/engineProcess.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{
namespace
{

lines openingsFor(const std::string &seed, const std::string &book, int status = 0)
{
    engineProcess engine(networkDirectory().path, {"genfens 12 seed " + seed, "book", book, "quit"});
    lines openings;
    for (const std::string &line : engine.readToExit("exit code " + std::to_string(status)))
        if (line.starts_with("info string genfens "))
            openings.push_back(line.substr(20));
    return openings;
}

TEST(genfens, openingsDependOnTheSeedAlone)
{
    const lines openings = openingsFor("7", "NONE");
    EXPECT_EQ(std::set<std::string>(openings.begin(), openings.end()).size(), 12U);
    for (const std::string &fen : openings)
        EXPECT_EQ(fenOf(*ownedPosition(fen), false, 5), fen);
    EXPECT_EQ(openingsFor("7", "None"), openings);
    EXPECT_NE(openingsFor("8", "NONE"), openings);
    const temporaryDirectory directory;
    const std::string pipe = directory / "pipe";
    ASSERT_EQ(mkfifo(pipe.c_str(), 0600), 0);
    for (const std::string &book : {std::string("/no/book"), pipe, std::string("/dev/zero")})
        EXPECT_EQ(openingsFor("7", book, 1), lines{"finds no positions in " + book});
    std::ofstream(directory / "over") << "7k/5Q2/6K1/8/8/8/8/8 b - - 0 1\n7k/8/6K1/8/8/8/8/N7 b - -\n";
    EXPECT_EQ(openingsFor("7", directory / "over", 1), lines{"finds no positions in " + directory / "over"});
    std::ofstream(directory / "won") << "4k3/8/8/8/8/PPPPPPPP/8/QQ2K3 w - - 0 1\n";
    EXPECT_EQ(openingsFor("7", directory / "won", 1), lines{"finds no balanced opening"});
}

TEST(genfens, startsFollowTheVariantAndNothingElseChanges)
{
    startedEngine engine;
    engine.ask("setoption name UCI_Chess960 value true");
    const lines board = engine.ask("showboard");
    const lines openings = engine.ask("genfens 4 seed 7");
    ASSERT_EQ(openings.size(), 4U);
    const std::regex rookOffTheCorner(" [wb] [A-Ha-h]*[B-Gb-g]");
    EXPECT_TRUE(std::ranges::any_of(openings, [&](const std::string &line)
                                    { return std::regex_search(line, rookOffTheCorner); }));
    EXPECT_EQ(engine.ask("showboard"), board);
    EXPECT_EQ(engine.ask("hashstats").at(2), "Number of entries " + std::to_string(8 * 16384 * 4));
    engine.send("go depth 10");
    EXPECT_EQ(engine.readUntil("bestmove").size(), 2U) << "reports are back";
}

} // namespace
} // namespace tarvonel
