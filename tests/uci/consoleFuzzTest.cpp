// The console in this process, fed with valid lines that were damaged at random: nothing that can be
// typed may crash or hang it. Sanitizers and debug builds find the most.
#include <algorithm>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <random>
#include <sstream>
#include <string>
#include <tuple>

#include <gtest/gtest.h>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "support/fuzzSeeds.h"
#include "support/syntheticNetwork.h"
#include "support/tablebaseFiles.h"
#include "support/temporaryDirectory.h"
#include "tablebase/tbRegistry.h"
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
    "position fen k7/8/8/3qqq2/3QQQ2/8/8/7K w - - 0 1",
    "position fen 8/8/8/8/8/2k5/8/K6R w - - 0 1 moves a1b1",
    "position fen 8/8/8/2k5/2pP4/8/8/K7 b - d3 0 1 moves c4d3",
    "position fen rk2r3/8/8/8/8/8/8/RK2R3 b EAea - 0 1 moves b8e8 b1a1",
    "position fen 8/8/8/8/8/8/8/8 w KQkq - 0 1",
    "go depth 2",
    "go movetime 5",
    "go wtime 20 btime 20 winc 1 binc 1 movestogo 3",
    "go ponder depth 3",
    "go infinite",
    "go nodes 100 mate 2 depth 1 searchmoves e2e4",
    "go infinite ponder movetime 1 depth 1 wtime 1",
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
    "bench 1 1 1",
    "genfens 1 seed 7 book None",
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

constexpr const char *hardNumbers[] = {"-1", "+5", "1.5", "0x10", "2147483648", "9223372036854775808", "9e999999"};

using generator = std::mt19937;

/// From 0 to below `bound`, the same with every standard library.
std::size_t below(generator &random, std::size_t bound) { return random() % bound; }

/// One letter, word or tail changed, taken away, or brought in from elsewhere.
void damage(std::string &text, generator &random)
{
    constexpr std::string_view alphabet = "abcdefgh12345678 /-wkqQKRrNnBbPp09xo\t\xff\r\"%";
    const std::size_t place = below(random, text.size() + 1);
    const std::size_t word = std::min(text.find(' ', place), text.size());
    const std::string other = seedLines[below(random, std::size(seedLines))];
    switch (below(random, 6))
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
        text.replace(place, std::string::npos, other, below(random, other.size() + 1));
        break;
    case 4:
        text.replace(word, text.find(' ', word + 1) - word,
                     ' ' + std::string(hardNumbers[below(random, std::size(hardNumbers))]));
        break;
    default:
        if (place < text.size())
            text[place] = static_cast<char>(below(random, 256));
        std::ranges::replace(text, '\n', ' ');
    }
}

/// The largest number on the line, -1 if there is none.
long largestNumber(const std::string &text)
{
    constexpr const char *digits = "0123456789";
    long largest = -1;
    for (std::size_t at = text.find_first_of(digits); at != std::string::npos;
         at = text.find_first_of(digits, text.find_first_not_of(digits, at)))
        largest = std::max(largest, std::atol(text.c_str() + at));
    return largest;
}

/// Whether the line would only take much time or memory, which a user is free to ask for.
bool isTooLarge(const std::string &text)
{
    const std::tuple<const char *, long, long> leastAndMost[] = {
        {"perft", 0, 2}, {"bench", 1, 2}, {"genfens", -1, 7}, {"Hash", -1, 16}, {"Threads", -1, 4}};
    const long number = largestNumber(text);
    for (const auto &[word, least, most] : leastAndMost)
        if (text.find(word) != std::string::npos && (number < least || number > most))
            return true;
    return text.find("quit") != std::string::npos || text.find("texel") != std::string::npos;
}

/// Files that the input may name, and the lines that name them.
class namedFiles
{
  public:
    namedFiles()
    {
        const std::string bytes = syntheticNetworkBytes();
        write("net", bytes);
        write("cut", bytes.substr(0, bytes.size() - 1));
        std::filesystem::create_directory(directory / "tables");
        tbTest::writeTables(directory / "tables", {{"KRvK", "KRk", 2, -2}, {"KPvKP", "PKpk", -1, 1}});
        write("tables/KQvK.rtbw", bytes.substr(0, bytes.size() / 64 * 64 + 16));
        engineOptions.netFileName = directory / "net";
    }

    std::string line(generator &random) const
    {
        constexpr const char *lines[] = {"NetFile value cut", "SyzygyPath value tables", "NetFile value net"};
        const std::string text = lines[std::min(below(random, 8), std::size(lines) - 1)];
        return "setoption name " + text.substr(0, text.rfind(' ') + 1) + directory / text.substr(text.rfind(' ') + 1);
    }

  private:
    void write(const std::string &name, const std::string &bytes) const
    {
        std::ofstream(directory / name, std::ios::binary) << bytes;
    }

    temporaryDirectory directory;
};

std::string damagedLine(generator &random)
{
    std::string text;
    do
    {
        text = seedLines[below(random, std::size(seedLines))];
        for (std::size_t j = below(random, 4); j > 0; --j)
            damage(text, random);
    } while (isTooLarge(text));
    if (below(random, 50) == 0)
        text += std::string(100'000, 'x');
    return text;
}

/// What may follow a `go` up to the `stop`: anything, with a limit that ends the search soon.
std::string duringSearch(std::string &go, generator &random)
{
    const std::string quick[] = {"isready\n", "position startpos\nponderhit\n"};
    if (go.find("movetime") != std::string::npos || below(random, 2) == 0)
        return quick[below(random, std::size(quick))] + "stop\n";
    go.insert(go.find("go") + 2, " depth 3 movetime 50");
    return damagedLine(random) + '\n' + "stop\n";
}

/// Sound and damaged lines. A `go` is followed by lines that the console takes during a search and by a
/// `stop`; damaged positions are also searched, counted and evaluated.
std::string damagedInput(unsigned seed, int lineCount, const namedFiles &files)
{
    generator random(seed);
    std::string input;
    for (int i = 0; i < lineCount; ++i)
    {
        std::string text = damagedLine(random), more, word;
        std::istringstream(text) >> word;
        if (word == "go")
            more = duringSearch(text, random);
        else if (word == "position" && below(random, 2) == 0)
            more = "go depth 3 movetime 50\nperft 2\nevil\n";
        input += text + '\n' + more;
        if (below(random, 20) == 0)
            input += files.line(random) + '\n';
    }
    return input;
}

void surviveInput(unsigned seed, int lineCount)
{
    const namedFiles files;
    engineOptions.hashMegabytes = 1;
    std::istringstream input(damagedInput(seed, lineCount, files));
    int status = -1;
    const std::string output = outputOf([&] { status = runConsole(input, {}); });
    EXPECT_EQ(status, 0);
    EXPECT_TRUE(output.ends_with('\n'));
    EXPECT_NE(output.find("\nbestmove "), std::string::npos);
    engineOptions = engineOptionValues();
    netLoaded = false;
    initTablebases("");
}

TEST(consoleFuzz, survives) { surviveInput(5, 400); }

TEST(slowConsoleFuzz, survives)
{
    forEachFuzzSeed(4, [](unsigned seed) { surviveInput(seed, 1500); });
}

} // namespace
} // namespace tarvonel
