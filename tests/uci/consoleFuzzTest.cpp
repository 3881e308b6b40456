// The console in this process, fed with sound lines that were damaged at random: nothing that can
// be typed may crash it or hang it. Most is gained under sanitizers and in debug builds.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <initializer_list>
#include <iterator>
#include <random>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "support/syntheticNetwork.h"
#include "support/temporaryDirectory.h"
#include "uci/console.h"
#include "uci/consoleOutput.h"

namespace tarvonel
{
namespace
{

constexpr const char *seedLines[] = {
    "position startpos moves e2e4 c7c5 g1f3 d7d6 d2d4 c5d4 f3d4 g8f6 b1c3 a7a6",
    "position fen r3k2r/p1ppqpb1/bn2pnp1/3PN3/1p2P3/2N2Q1p/PPPBBPPP/R3K2R w KQkq - 0 1 moves e1g1 e8c8 d5d6",
    "position fen 8/2p5/3p4/KP5r/1R3p1k/8/4P1P1/8 w - - 0 1 moves e2e4 f4e3",
    "position fen n1n5/PPPk4/8/8/8/8/4Kppp/5N1N b - - 0 1 moves g2g1q a7a8n f2f1b",
    "position fen bqnb1rkr/pp3ppp/3ppn2/2p5/5P2/P2P4/NPP1P1PP/BQ1BNRKR w HFhf - 2 9 moves g1h1 g8f8",
    "position fen QQQQQQQQ/QQQQQQ2/8/8/8/1k6/8/7K b - - 0 1",
    "position fen 4k3/8/8/8/4P3/8/8/4K2R b K e3 99 512",
    "position fen k7/8/8/qqqqqqqq/QQQQQQQQ/8/8/7K w - - 0 1",
    "go depth 2",
    "go movetime 5",
    "go wtime 20 btime 20 winc 1 binc 1 movestogo 3",
    "go ponder depth 3",
    "go infinite",
    "go nodes 100 mate 2 depth 1 searchmoves e2e4",
    "setoption name Hash value 2",
    "setoption name Threads value 3",
    "setoption name MoveOverhead value 30",
    "setoption name Ponder value true",
    "setoption name SyzygyPath value /no/such/place;<empty>",
    "setoption name SyzygyProbeDepth value 3",
    "setoption name WindowsNumaNode value 1",
    "setoption name UCI_Chess960 value true",
    "setoption name UCI_Chess960 value false",
    "setoption name NetFile value <empty>",
    "perft 2",
    "isready",
    "uci",
    "ucinewgame",
    "ponderhit",
    "stop",
    "showboard",
    "evil",
    "hashstats",
    "help",
    "rtest",
    "rtestQTV",
    ""};

using generator = std::mt19937;

/// From 0 to below `bound`, the same with every standard library.
std::size_t below(generator &random, std::size_t bound) { return random() % bound; }

/// One letter or word changed, taken away, doubled, or brought in from elsewhere.
void damage(std::string &text, generator &random)
{
    constexpr std::string_view alphabet = "abcdefgh12345678 /-wkqQKRrNnBbPp09xo\t\xff\r\"%";
    const std::size_t place = below(random, text.size() + 1);
    switch (below(random, 5))
    {
    case 0:
        text.insert(place, 1, alphabet[below(random, alphabet.size())]);
        break;
    case 1:
        text.erase(place, 1 + below(random, 3));
        break;
    case 2:
        text.insert(place, text.substr(below(random, text.size() + 1), below(random, 20)));
        break;
    case 3:
    {
        const std::string other = seedLines[below(random, std::size(seedLines))];
        text.replace(place, std::string::npos, other, below(random, other.size() + 1));
        break;
    }
    default:
        if (place < text.size())
            text[place] = static_cast<char>(below(random, 256));
        std::ranges::replace(text, '\n', ' ');
    }
}

/// Whether the line would only cost time or memory: that much is the user's to choose.
bool isTooLarge(const std::string &text)
{
    struct
    {
        const char *command, *numberWord;
        long most;
    } const costs[] = {{"perft", "perft", 2}, {"Hash", "value", 16}, {"Threads", "value", 4}};
    for (const auto &cost : costs)
        if (text.find(cost.command) != std::string::npos)
        {
            const std::size_t place = text.rfind(cost.numberWord);
            return place != std::string::npos &&
                   std::atol(text.c_str() + place + std::strlen(cost.numberWord)) > cost.most;
        }
    return text.find("quit") != std::string::npos || text.find("texel") != std::string::npos;
}

/// Sound and damaged lines. A `go` is followed by what may stand beside a search and by a `stop`;
/// damaged positions are also searched, counted and evaluated.
std::string damagedSession(unsigned seed, int lineCount, const std::string &netFile)
{
    generator random(seed);
    std::string session;
    for (int i = 0; i < lineCount; ++i)
    {
        std::string text = seedLines[below(random, std::size(seedLines))];
        for (std::size_t j = below(random, 4); j > 0; --j)
            damage(text, random);
        if (isTooLarge(text))
            continue;
        if (below(random, 50) == 0)
            text += std::string(100'000, 'x');
        session += text + '\n';
        std::string word;
        std::istringstream(text) >> word;
        if (word == "go")
            session += std::string(below(random, 2) == 0 ? "isready\n" : "position startpos\nponderhit\n") + "stop\n";
        else if (word == "position" && below(random, 2) == 0)
            session += "go depth 4 movetime 50\nperft 2\nevil\n";
        if (below(random, 10) == 0)
            session += "setoption name NetFile value " + netFile + '\n';
    }
    return session;
}

void surviveSessions(std::initializer_list<unsigned> seeds, int lineCount)
{
    const temporaryDirectory directory;
    const std::string netFile = directory / "net";
    ASSERT_TRUE(writeSyntheticNetwork(netFile));
    engineOptions.hashMegabytes = 1;
    engineOptions.netFileName = netFile;
    for (const unsigned seed : seeds)
    {
        SCOPED_TRACE(seed);
        std::istringstream session(damagedSession(seed, lineCount, netFile));
        int status = -1;
        const std::string output = outputOf([&] { status = runConsole(session, {}); });
        EXPECT_EQ(status, 0);
        EXPECT_TRUE(output.ends_with('\n'));
        EXPECT_NE(output.find("\nbestmove "), std::string::npos);
    }
    engineOptions = engineOptionValues();
    netLoaded = false;
}

TEST(consoleFuzz, survives) { surviveSessions({5}, 400); }

TEST(slowConsoleFuzz, survives) { surviveSessions({1, 2, 3, 4}, 1500); }

} // namespace
} // namespace tarvonel
