// The engine as a process, told and asked over its pipes as a controller does.
#include <algorithm>
#include <chrono>
#include <memory>
#include <regex>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "support/engineProcess.h"
#include "support/syntheticNetwork.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{
namespace
{

using lines = std::vector<std::string>;

constexpr const char *refusal = " refused: an infinite or ponder search is running, stop it first";
constexpr const char *unplayable = "info string The position cannot be played on: a king is missing or could be taken";
const std::regex
    reportForm("info score cp -?[0-9]+ depth [0-9]+ seldepth [0-9]+ nodes [0-9]+ nps [0-9]+ time [1-9][0-9]* "
               "tbhits [0-9]+ pv ([a-h][1-8][a-h][1-8][nbrq]? )+");
const std::regex
    mateForm("info score mate -?[0-9]+ depth [0-9]+ nodes [0-9]+ nps [0-9]+ time [1-9][0-9]* tbhits [0-9]+ "
             "pv ([a-h][1-8][a-h][1-8][nbrq]? )+");
const std::regex answerForm("bestmove [a-h][1-8][a-h][1-8][nbrq]?( ponder [a-h][1-8][a-h][1-8][nbrq]?)?");

/// Directories to start the engine in: with a network of the default name, and without.
class dialogue : public testing::Test
{
  protected:
    static void SetUpTestSuite()
    {
        withNetwork = std::make_unique<temporaryDirectory>();
        empty = std::make_unique<temporaryDirectory>();
        ASSERT_TRUE(writeSyntheticNetwork(*withNetwork / "220321-307.nnue"));
    }
    static void TearDownTestSuite()
    {
        withNetwork.reset();
        empty.reset();
    }

    /// A started engine, its greeting read, with a small table.
    static std::unique_ptr<engineProcess> startedEngine()
    {
        auto engine = std::make_unique<engineProcess>(withNetwork->path);
        engine->send("setoption name Hash value 8");
        engine->readUntil("info string Size of Hashtable set to : 8");
        return engine;
    }

    /// The lines that the engine prints for the command, up to the answer of a second one that never
    /// waits and changes nothing.
    static lines answerTo(engineProcess &engine, const std::string &command)
    {
        engine.send(command);
        engine.send("setoption name SyzygyProbeDepth value 0");
        lines answer = engine.readUntil("info string SyzygyProbeDepth set to: 0");
        answer.pop_back();
        return answer;
    }

    /// Ends the engine by `quit` and returns the answers of searches that it still printed.
    static lines answersAtQuit(engineProcess &engine)
    {
        engine.send("quit");
        lines rest = engine.readToEnd();
        EXPECT_EQ(engine.waitForExit(), 0);
        std::erase_if(rest, [](const std::string &text) { return !text.starts_with("bestmove"); });
        return rest;
    }

    static std::unique_ptr<temporaryDirectory> withNetwork, empty;
};

std::unique_ptr<temporaryDirectory> dialogue::withNetwork, dialogue::empty;

TEST_F(dialogue, greetingAndIdentification)
{
    engineProcess engine(withNetwork->path);
    const lines greeting = engine.readUntil("Net read");
    ASSERT_EQ(greeting.size(), 5U);
    EXPECT_TRUE(std::regex_match(greeting[0], std::regex("Tarvonel 3\\.0 (SSE2|AVX2|generic)"))) << greeting[0];
    EXPECT_EQ(greeting[1], "by Ostrelund");
    EXPECT_EQ(greeting[2], "");
    EXPECT_EQ(greeting[3], "enter 'help' to see the commands");

    engine.send("uci");
    const lines identification = engine.readUntil("uciok");
    ASSERT_EQ(identification.size(), 12U);
    EXPECT_EQ(identification[0], "id name " + greeting[0]);
    EXPECT_EQ(identification[1], "id author Ostrelund");
    EXPECT_EQ(identification[2], "option name Threads type spin default 1 min 1 max 256");
    EXPECT_EQ(identification[10], "option name UCI_Chess960 type check default false");
}

TEST_F(dialogue, wordsThatAreNoCommand)
{
    const auto engine = startedEngine();
    for (const char *command : {"", "   ", "Quit", "UCI", "stopp", "go\x01", "\xff\xfe", "quit!"})
        EXPECT_EQ(answerTo(*engine, command), lines{"Unknown command"}) << command;
    EXPECT_EQ(answerTo(*engine, "  \t isready  now"), lines{"readyok"});
    EXPECT_EQ(answerTo(*engine, "ucinewgame"), lines{"readyok"});
    EXPECT_EQ(answerTo(*engine, "stop"), lines{});
    EXPECT_EQ(answerTo(*engine, "ponderhit"), lines{});
    EXPECT_EQ(answerTo(*engine, "position nowhere"), lines{});
    EXPECT_EQ(
        answerTo(*engine, "help"),
        (lines{"supported UCI commands 'uci' 'ucinewgame' 'position' 'go' 'ponderhit' 'stop 'quit' 'setoption' "
               "'isready'",
               "other commands 'perft depth', default depth=6, change board with 'position'; 'showboard' shows the "
               "current board"}));
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

TEST_F(dialogue, anyBytesAreSurvived)
{
    const auto engine = startedEngine();
    const std::string nul(1, '\0');
    const std::string megabyte(1 << 20, 'x');
    engine->sendRaw(nul + "\n" + "go" + nul + "\nposition fen " + nul + "\nsetoption name Hash value " + nul + "\r\n");
    engine->sendRaw(megabyte + "\n" + "position fen " + megabyte + "\nposition startpos moves " + megabyte + "\n");
    engine->sendRaw("setoption name SyzygyPath value " + megabyte + "\nsetoption " + megabyte + "\ngo " + nul +
                    " depth 1\n");
    EXPECT_EQ(engine->readUntil("bestmove").back().substr(0, 9), "bestmove ");
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

TEST_F(dialogue, withoutNetwork)
{
    engineProcess engine(empty->path);
    engine.readUntil("info string NetFile not found/correct: 220321-307.nnue. Unable to calculate the best move for a "
                     "position.");
    const std::string message = ". Unable to calculate the best move for the position.";
    EXPECT_EQ(answerTo(engine, "go depth 1"),
              lines{"info string NetFile not found/correct: 220321-307.nnue" + message});
    EXPECT_EQ(answerTo(engine, "go infinite"),
              lines{"info string NetFile not found/correct: 220321-307.nnue" + message});
    EXPECT_EQ(answerTo(engine, "showboard").size(), 17U);
    EXPECT_TRUE(answerTo(engine, "evil").at(0).starts_with("Evaluation : "));
    answerTo(engine, "setoption name NetFile value none");
    EXPECT_EQ(answerTo(engine, "go"), lines{"info string NetFile not found/correct: none" + message});

    const std::string file = *withNetwork / "220321-307.nnue";
    EXPECT_EQ(answerTo(engine, "setoption name NetFile value " + file).back(), "info string NetFile used : " + file);
    engine.send("go depth 1");
    engine.readUntil("bestmove ");
    EXPECT_EQ(answersAtQuit(engine), lines{});
}

TEST_F(dialogue, reportsFromDepthTenOn)
{
    const auto engine = startedEngine();
    engine->send("go depth 5");
    EXPECT_EQ(engine->readUntil("bestmove").size(), 1U) << "no report before depth 10";
    engine->send("position startpos moves e2e4");
    engine->send("go depth 11");
    const lines search = engine->readUntil("bestmove");
    ASSERT_EQ(search.size(), 3U) << testing::PrintToString(search);
    EXPECT_TRUE(std::regex_match(search[0], reportForm)) << search[0];
    EXPECT_TRUE(std::regex_search(search[0], std::regex(" depth 10 seldepth ")));
    EXPECT_TRUE(std::regex_search(search[1], std::regex(" depth 11 seldepth ")));
    EXPECT_TRUE(std::regex_match(search[2], answerForm)) << search[2];
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

TEST_F(dialogue, endsOfTheGame)
{
    const auto engine = startedEngine();
    struct
    {
        const char *position, *go;
        lines answer;
    } const cases[] = {
        {"position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1", "go depth 3", {"info score mate 0", "bestmove a1a1"}},
        {"position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1", "go depth 3", {"bestmove a1a1"}},
        {"position startpos moves e2e8", "go infinite", {unplayable, "bestmove a1a1"}},
        {"position startpos moves e2e8 e7e5 e1e2", "go ponder", {unplayable, "bestmove a1a1"}},
        {"position fen 4k3/8/8/8/8/8/8/4KR2 b - - 0 1 moves e8f8", "go", {unplayable, "bestmove a1a1"}},
    };
    for (const auto &c : cases)
    {
        engine->send(c.position);
        engine->send(c.go);
        EXPECT_EQ(engine->readUntil("bestmove"), c.answer) << c.position;
    }
    for (const char *command : {"perft 2", "evil"})
        EXPECT_EQ(answerTo(*engine, command), lines{unplayable}) << command;

    engine->send("position fen 7k/8/6K1/8/8/8/8/5Q2 w - - 0 1");
    engine->send("go depth 4");
    const lines mate = engine->readUntil("bestmove");
    ASSERT_EQ(mate.size(), 2U);
    EXPECT_TRUE(std::regex_match(mate[0], mateForm)) << mate[0];
    EXPECT_TRUE(mate[0].starts_with("info score mate 1 depth "));
    EXPECT_EQ(mate[1].substr(0, 13), "bestmove f1f8");
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

TEST_F(dialogue, infiniteSearchAnswersOnlyToStop)
{
    const auto engine = startedEngine();
    // the second one is over at once and yet has to wait for its stop
    for (const char *position : {"position startpos", "position fen 7k/8/6K1/8/8/8/8/5Q2 w - - 0 1",
                                 "position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1"})
    {
        engine->send(position);
        engine->send("go infinite depth 2 movetime 1");
        const bool isMated = std::string(position).ends_with("b - - 0 1");
        if (!isMated)
        {
            EXPECT_FALSE(std::ranges::any_of(answerTo(*engine, "position startpos"),
                                             [](const std::string &text) { return text.starts_with("bestmove"); }))
                << position;
            while (auto text = engine->readLine(200))
                EXPECT_FALSE(text->starts_with("bestmove")) << position;
        }
        engine->send("stop");
        EXPECT_TRUE(std::regex_match(engine->readUntil("bestmove").back(), answerForm));
    }
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

TEST_F(dialogue, ponderSearchWaitsForTheHit)
{
    const auto engine = startedEngine();
    struct
    {
        const char *go, *end;
    } const cases[] = {
        {"go ponder movetime 1", "ponderhit"},
        {"go ponder movetime 300", "ponderhit"},
        {"go ponder wtime 1000 btime 1000", "ponderhit"},
        {"go ponder wtime 1000 btime 1000", "stop"},
        {"go wtime 1 ponder", "quit"},
    };
    for (const auto &c : cases)
    {
        engine->send("position startpos moves e2e4 e7e5");
        engine->send(c.go);
        while (auto text = engine->readLine(100))
            EXPECT_FALSE(text->starts_with("bestmove")) << c.go;
        engine->send(c.end);
        EXPECT_TRUE(std::regex_match(engine->readUntil("bestmove").back(), answerForm)) << c.go << ' ' << c.end;
    }
    EXPECT_EQ(engine->readToEnd(), lines{});
    EXPECT_EQ(engine->waitForExit(), 0);
}

// What changes the memory that a search reads does not run beside one: it is refused where only
// `stop` would end the search, which nobody could read any more.
TEST_F(dialogue, commandsThatNeedTheSearchIdle)
{
    const auto engine = startedEngine();
    struct
    {
        const char *command, *name;
    } const guarded[] = {
        {"go", "go"},
        {"go infinite", "go"},
        {"ucinewgame", "ucinewgame"},
        {"evil", "evil"},
        {"rtest", "rtest"},
        {"setoption name Hash value 4", "setoption name Hash"},
        {"setoption name Threads value 2", "setoption name Threads"},
        {"setoption name WindowsNumaNode value 1", "setoption name WindowsNumaNode"},
        {"setoption name NetFile value none", "setoption name NetFile"},
        {"setoption name SyzygyPath value none", "setoption name SyzygyPath"},
        {"setoption name UCI_Chess960 value true", "setoption name UCI_Chess960"},
    };
    for (const char *go : {"go infinite", "go ponder"})
    {
        engine->send("position fen 8/8/4k3/8/8/3K4/3P4/8 w - - 0 1");
        engine->send(go);
        for (const auto &c : guarded)
        {
            lines answer = answerTo(*engine, c.command);
            std::erase_if(answer, [](const std::string &text) { return text.starts_with("info score"); });
            EXPECT_EQ(answer, lines{std::string("info string ") + c.name + refusal}) << c.command;
        }
        for (const char *command : {"isready", "showboard", "hashstats", "position startpos", "perft 2", "uci", "help",
                                    "setoption name Ponder value true", "setoption name WindowsNumaNode value 0"})
            EXPECT_EQ(std::ranges::count_if(answerTo(*engine, command), [](const std::string &text)
                                            { return text.starts_with("bestmove") || text.ends_with(refusal); }),
                      0)
                << command;
        engine->send("stop");
        engine->readUntil("bestmove");
    }
    // beside a search that ends by itself they wait
    for (const auto &c : guarded)
    {
        engine->send("setoption name NetFile value 220321-307.nnue");
        engine->send("go movetime 50");
        const lines both = answerTo(*engine, c.command);
        EXPECT_EQ(std::ranges::count_if(both, [](const std::string &text) { return text.starts_with("bestmove"); }), 1)
            << c.command;
        EXPECT_FALSE(std::ranges::any_of(both, [](const std::string &text) { return text.ends_with(refusal); }));
        if (std::string(c.name) == "go")
        {
            engine->send("stop");
            engine->readUntil("bestmove");
        }
    }
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

// The search before keeps its own limits: with those of the next it might never end.
TEST_F(dialogue, endlessSearchBehindAFiniteOne)
{
    const auto engine = startedEngine();
    for (const char *endless : {"go infinite", "go ponder", "go wtime 2000000000 btime 2000000000"})
    {
        engine->send("go movetime 100");
        engine->send(endless);
        engine->readUntil("bestmove");
        while (auto text = engine->readLine(100))
            EXPECT_FALSE(text->starts_with("bestmove")) << endless;
        engine->send("stop");
        engine->readUntil("bestmove");
    }
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

// The answer is printed while the boss still winds up: what a controller sends upon it must not be
// refused.
TEST_F(dialogue, commandsRightBehindTheAnswerAreTaken)
{
    const auto engine = startedEngine();
    for (int i = 0; i < 40; ++i)
    {
        engine->send(i % 2 == 0 ? "go infinite" : "go ponder");
        engine->send("stop");
        engine->readUntil("bestmove");
        const lines next = answerTo(*engine, "setoption name Hash value 1");
        EXPECT_EQ(next, lines{"info string Size of Hashtable set to : 1"});
    }
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

TEST_F(dialogue, quitAndEndOfInputInEveryState)
{
    for (const char *state : {"", "go infinite", "go ponder", "go movetime 200", "go depth 4", "position startpos",
                              "go infinite\nstop", "go ponder\nponderhit"})
        for (const bool byQuit : {true, false})
        {
            engineProcess engine(withNetwork->path);
            engine.sendRaw(std::string("setoption name Hash value 1\nsetoption name Threads value 2\n") + state +
                           (*state == 0 ? "" : "\n") + (byQuit ? "quit\n" : ""));
            if (!byQuit)
                engine.closeInput();
            const lines output = engine.readToEnd();
            EXPECT_EQ(engine.waitForExit(), 0) << state;
            EXPECT_EQ(
                std::ranges::count_if(output, [](const std::string &text) { return text.starts_with("bestmove"); }),
                std::string(state).starts_with("go") ? 1 : 0)
                << state;
        }
}

TEST_F(dialogue, wordsBehindTheProgramName)
{
    struct
    {
        lines words;
        std::string lastLine;
    } const cases[] = {
        {{"go", "depth", "3"}, "bestmove "},
        {{"go", "movetime", "100"}, "bestmove "},
        {{"perft", "3"}, "Perft results for depth: 3  8902  "},
        {{"quit"}, "Net read"},
        {{"nonsense"}, "Unknown command"},
        {{""}, "Unknown command"},
        {{"setoption", "name", "Hash", "value", "2"}, "info string Size of Hashtable set to : 2"},
        {{"rtest"}, "There seems to be a problem with the perftFile. check of the move generator not executed"},
        {{"rtestQTV"}, "There seems to be a problem with the perftFile. check of the move generator not executed"},
    };
    for (const auto &c : cases)
    {
        engineProcess engine(withNetwork->path, c.words);
        const lines output = engine.readToEnd(); // with the input left open
        ASSERT_FALSE(output.empty());
        EXPECT_TRUE(output.back().starts_with(c.lastLine)) << output.back();
        EXPECT_EQ(engine.waitForExit(), 0);
    }
}

TEST_F(dialogue, perftKeepsItsDepth)
{
    const auto engine = startedEngine();
    const std::string refused = "info string perft needs a depth from 1 to 127";
    EXPECT_EQ(answerTo(*engine, "perft 3").size(), 19U);
    for (const char *command : {"perft 0", "perft -1", "perft 128", "perft x", "perft 99999999999", "perft -"})
        EXPECT_EQ(answerTo(*engine, command), lines{refused}) << command;
    EXPECT_TRUE(answerTo(*engine, "perft").back().starts_with("Perft results for depth: 3  8902  "));
}

TEST_F(dialogue, hashstatsCountsTheTable)
{
    const auto engine = startedEngine();
    answerTo(*engine, "ucinewgame");
    const auto countOf = [](const lines &report, const std::string &prefix)
    {
        const auto row =
            std::ranges::find_if(report, [&](const std::string &text) { return text.starts_with(prefix); });
        return row == report.end() ? -1 : std::stoi(row->substr(prefix.size()));
    };
    const lines fresh = answerTo(*engine, "hashstats");
    ASSERT_EQ(fresh.size(), 9U + 64U + 128U);
    EXPECT_EQ(countOf(fresh, "Number of entries "), 8 * 16384 * 4);
    EXPECT_EQ(countOf(fresh, "Used entries "), 1);
    EXPECT_EQ(countOf(fresh, "Number of Hashmoves "), 0);
    EXPECT_TRUE(fresh[0].starts_with("Size of info : pos structure : "));
    EXPECT_EQ(fresh[1], "Hash Statistics ");
    EXPECT_EQ(fresh[4], "Type of entries UPPER - LOWER - EXACT 0\t - 0\t - 0");
    EXPECT_EQ(fresh[7], "Age distribution nof - prcused - prctotal");
    EXPECT_EQ(fresh[8], "0  0 - 0 - 0");
    EXPECT_EQ(fresh[72], "Depth distribution ");

    for (int game = 0; game < 3; ++game)
    {
        engine->send("position startpos");
        engine->send("go depth 8");
        engine->readUntil("bestmove");
    }
    const lines filled = answerTo(*engine, "hashstats");
    const int used = countOf(filled, "Used entries ");
    int byAge = 0, byDepth = 0;
    for (std::size_t row = 0; row < 64; ++row)
        byAge += std::stoi(filled[8 + row].substr(filled[8 + row].find("  ") + 2));
    for (std::size_t row = 0; row < 128; ++row)
        byDepth += std::stoi(filled[73 + row].substr(filled[73 + row].find("  ") + 2));
    EXPECT_GT(used, 100);
    EXPECT_EQ(byAge, used);
    EXPECT_EQ(byDepth, used);
    EXPECT_GT(countOf(filled, "Number of Hashmoves "), 0);
}

TEST_F(dialogue, showboardAndEvil)
{
    const auto engine = startedEngine();
    const lines board = answerTo(*engine, "showboard");
    ASSERT_EQ(board.size(), 17U);
    EXPECT_EQ(board[0], "+---+---+---+---+---+---+---+---+");
    EXPECT_EQ(board[1], "| r | n | b | q | k | b | n | r |");
    EXPECT_EQ(board[15], "| R | N | B | Q | K | B | N | R |");
    const lines white = answerTo(*engine, "evil");
    EXPECT_TRUE(std::regex_match(white.at(0), std::regex("Evaluation : -?[0-9]+")));
    EXPECT_EQ(answerTo(*engine, "evil"), white);
    EXPECT_EQ(answerTo(*engine, "showboard"), board);
}

TEST_F(dialogue, linesOfConsoleAndSearchDoNotMix)
{
    const auto engine = startedEngine();
    engine->send("setoption name Threads value 2");
    engine->send("position fen 8/8/4k3/8/8/3K4/3P4/8 w - - 0 1");
    engine->send("go infinite");
    std::string questions;
    for (int i = 0; i < 2000; ++i)
        questions += "isready\n";
    engine->sendRaw(questions + "stop\n");
    int ready = 0;
    for (const std::string &text : engine->readUntil("bestmove"))
    {
        ready += text == "readyok";
        EXPECT_TRUE(text == "readyok" || text == "info string Number of threads set to : 2" ||
                    std::regex_match(text, reportForm) || std::regex_match(text, answerForm))
            << text;
    }
    EXPECT_EQ(ready, 2000);
}

TEST_F(dialogue, timeIsKept)
{
    const auto engine = startedEngine();
    struct
    {
        const char *go;
        int least, most; // milliseconds
    } const cases[] = {
        {"go movetime 300", 200, 2000},          {"go wtime -5 btime -5", 0, 2000},
        {"go wtime 20 btime 20", 0, 2000},       {"go movestogo 0 wtime 1000 btime 1000", 0, 3000},
        {"go movestogo -3 wtime 1000", 0, 3000}, {"go movetime -1", 0, 2000},
    };
    for (const auto &c : cases)
    {
        const auto start = std::chrono::steady_clock::now();
        engine->send(c.go);
        engine->readUntil("bestmove");
        const auto taken =
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count();
        EXPECT_GE(taken, c.least) << c.go;
        EXPECT_LE(taken, c.most) << c.go;
    }
}

TEST_F(dialogue, stopIsObeyedSoon)
{
    const auto engine = startedEngine();
    engine->send("setoption name Threads value 2");
    constexpr int tries = 15, mostMilliseconds = 500;
    std::vector<long> taken;
    for (int i = 0; i < tries; ++i)
    {
        engine->send("go infinite");
        while (engine->readLine(20))
        {
        }
        const auto start = std::chrono::steady_clock::now();
        engine->send("stop");
        engine->readUntil("bestmove");
        taken.push_back(
            std::chrono::duration_cast<std::chrono::milliseconds>(std::chrono::steady_clock::now() - start).count());
    }
    std::ranges::nth_element(taken, taken.begin() + tries / 2);
    EXPECT_LE(taken[tries / 2], mostMilliseconds) << testing::PrintToString(taken);
    EXPECT_EQ(answersAtQuit(*engine), lines{});
}

} // namespace
} // namespace tarvonel
