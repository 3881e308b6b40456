// Openings for games on other machines, asked for as words behind the program's name.

#include <set>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "support/engineProcess.h"
#include "support/randomGames.h"

namespace tarvonel
{
namespace
{

lines openingsFor(const std::string &seed, const std::string &book)
{
    engineProcess engine(networkDirectory().path, {"genfens 12 seed " + seed, "book", book, "quit"});
    lines openings;
    for (const std::string &line : engine.readToExit())
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
    EXPECT_EQ(openingsFor("7", "/no/book"), lines{"finds no positions in /no/book"});
}

} // namespace
} // namespace tarvonel
