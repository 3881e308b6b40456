// The engine as a process, driven over its pipes as by a controller.
#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <regex>

#include <gtest/gtest.h>

#include "platform/clock.h"
#include "search/searchSupport.h"
#include "support/engineProcess.h"
#include "support/syntheticNetwork.h"
#include "support/tablebaseFiles.h"

namespace tarvonel
{
namespace
{

constexpr const char *refusal = " refused: an infinite or ponder search is running, stop it first";
constexpr const char *unplayable = "info string The position cannot be played on: a king is missing or could be taken";
constexpr const char *refused = "info string There is no position: the last one was refused";
constexpr const char *invalid = "info string Invalid position: the ranks do not add up to eight squares";
constexpr const char *mateInOne = "position fen 7k/8/6K1/8/8/8/8/5Q2 w - - 0 1\n";
constexpr const char *mated = "position fen 7k/6Q1/6K1/8/8/8/8/8 b - - 0 1\n";
constexpr const char *pawnEnding = "position fen 8/8/4k3/8/8/3K4/3P4/8 w - - 0 1\n";
const std::regex
    reportForm("info score (cp -?[0-9]+ depth [0-9]+ seldepth [0-9]+|mate -?[0-9]+ depth [0-9]+) nodes [0-9]+ "
               "nps [0-9]+ time [1-9][0-9]* tbhits [0-9]+ pv ([a-h][1-8][a-h][1-8][nbrq]? )+");
const std::regex answerForm("bestmove [a-h][1-8][a-h][1-8][nbrq]?( ponder [a-h][1-8][a-h][1-8][nbrq]?)?");

std::ptrdiff_t answersIn(const lines &all)
{
    return std::ranges::count_if(all, [](const std::string &text) { return text.starts_with("bestmove"); });
}

std::ptrdiff_t refusalsIn(const lines &all)
{
    return std::ranges::count_if(all, [](const std::string &text) { return text.ends_with(refusal); });
}

/// An engine for each test. No answer of a search may be left unread at its end.
class dialogue : public testing::Test
{
  protected:
    void TearDown() override
    {
        engine.send("quit");
        EXPECT_EQ(answersIn(engine.readToExit()), 0);
    }

    /// Reads until depth 11, far beyond any clock poll, and for half a second more: there must be no
    /// answer.
    void expectSearching()
    {
        const auto next = [this](int timeoutMs)
        {
            std::string text = engine.readLine(timeoutMs).value_or("");
            EXPECT_FALSE(text.starts_with("bestmove")) << text;
            return text;
        };
        for (std::string text; text.find(" depth 11 ") == std::string::npos && !HasFailure();)
            text = next(60000);
        for (const std::int64_t start = millisecondsNow(); millisecondsNow() < start + 500 && !HasFailure();)
            next(100);
    }

    /// Reads until nothing comes for a while: there must be no answer.
    void expectSilence()
    {
        while (auto text = engine.readLine(100))
            EXPECT_FALSE(text->starts_with("bestmove"));
    }

    startedEngine engine;
};

TEST_F(dialogue, greetingAndIdentification)
{
    engineProcess fresh(networkDirectory().path);
    const lines greeting = fresh.readUntil("Net read");
    EXPECT_TRUE(greeting[0].starts_with("Tarvonel 3.0 ")) << greeting[0];
    EXPECT_EQ(greeting, (lines{greeting[0], "by Ostrelund", "", "enter 'help' to see the commands", "Net read"}));
    EXPECT_EQ(
        fresh.ask("uci"),
        (lines{"id name " + greeting[0], "id author Ostrelund", "option name Threads type spin default 1 min 1 max 256",
               "option name Hash type spin default 256 min 1 max 262144", "option name Ponder type check default false",
               "option name MoveOverhead type spin default 100 min 1 max 60000",
               "option name SyzygyPath type string default <empty>",
               "option name SyzygyProbeDepth type spin default 0 min 0 max 127",
               "option name WindowsNumaNode type spin default 0 min 0 max 4",
               "option name NetFile type string default <empty>", "option name UCI_Chess960 type check default false",
               "uciok"}));
}

TEST_F(dialogue, commandsAndTheirAnswers)
{
    for (const char *command : {"", "UCI", "stopp", "\xff\xfe"})
        EXPECT_EQ(engine.ask(command), lines{"Unknown command"}) << command;
    for (const char *command : {"stop", "ponderhit", "position nowhere"})
        EXPECT_EQ(engine.ask(command), lines{}) << command;
    for (const char *command : {"  \t isready  now", "ucinewgame"})
        EXPECT_EQ(engine.ask(command), lines{"readyok"}) << command;
    for (const char *command : {"perft 0", "perft 3x", "perft 99999999999", "bench 128"})
        EXPECT_EQ(engine.ask(command), lines{std::string("info string ") + std::string(command).substr(0, 5) +
                                             " needs a depth from 1 to 127"})
            << command;
    EXPECT_EQ(engine.ask("help"),
              (lines{"supported UCI commands 'uci' 'ucinewgame' 'position' 'go' 'ponderhit' 'stop 'quit' 'setoption' "
                     "'isready'",
                     "other commands 'perft depth', default depth=6, change board with 'position'; 'showboard' shows "
                     "the current board"}));

    const lines board = engine.ask("showboard");
    ASSERT_EQ(board.size(), 17U);
    EXPECT_EQ(board[1], "| r | n | b | q | k | b | n | r |");
    EXPECT_TRUE(std::regex_match(engine.ask("evil").at(0), std::regex("Evaluation : -?[0-9]+")));
    EXPECT_EQ(engine.ask("perft 3").size(), 19U);
    EXPECT_TRUE(engine.ask("perft").back().starts_with("Perft results for depth: 3  8902  ")) << "the depth is kept";
    EXPECT_EQ(engine.ask("showboard"), board) << "nothing that looks changes the board";
}

TEST_F(dialogue, withoutNetwork)
{
    const temporaryDirectory empty;
    engineProcess fresh(empty.path);
    const std::string missing = "info string NetFile not found/correct: ";
    fresh.readUntil(missing + "220321-307.nnue. Unable to calculate the best move for a position.");
    engineProcess(empty.path, {"perft", "1"}).readToExit();
    EXPECT_EQ(fresh.ask("go infinite"),
              lines{missing + "220321-307.nnue. Unable to calculate the best move for the position."});
    EXPECT_TRUE(fresh.ask("bench").at(0).starts_with(missing));
    EXPECT_TRUE(fresh.ask("evil").at(0).starts_with("Evaluation : "));

    const std::string file = pathForEngine(networkDirectory() / "220321-307.nnue");
    EXPECT_EQ(fresh.ask("setoption name NetFile value " + file),
              (lines{"Net read", "info string NetFile used : " + file}));
    fresh.send("setoption name NetFile value <empty>\ngo depth 1"); // the network in use stays
    fresh.readUntil("bestmove ");
}

// Paths in UTF-8, and an empty directory before the one that holds the tables.
TEST_F(dialogue, endgameTablesFromSeveralDirectories)
{
    const temporaryDirectory empty, parent;
    const std::string directory = parent / "Türme";
    std::filesystem::create_directory(directory);
    tbTest::writeTables(directory, {{"KRvK", "KRk", 2, -2}});
    const std::string path = pathForEngine(empty.path) + ";" + pathForEngine(directory);
    EXPECT_EQ(engine.ask("setoption name SyzygyPath value " + path),
              lines{"info string Syzygy tablebases used from directory : " + path});
    engine.send("position fen 8/8/4k3/8/8/3K4/3P3r/8 w - - 0 1\ngo depth 10");
    const lines search = engine.readUntil("bestmove");
    EXPECT_TRUE(std::ranges::any_of(search, [](const std::string &text)
                                    { return std::regex_search(text, std::regex("tbhits [1-9]")); }))
        << testing::PrintToString(search);
}

// The table shrinks to make room for the first thread; if there is still no room, the program ends. The
// thread count becomes the number of threads that the system could create.
TEST_F(dialogue, littleMemory)
{
    if (isSanitized || isForeignEngine())
        GTEST_SKIP() << "a sanitizer takes all addresses, and an emulator memory of its own";
    const std::string smaller = "info string Not enough memory for that Hashtable, size taken : ";
    for (const int limitKib : {200'000, 100'000, 70'000, 60'000})
    {
        engineProcess fresh(networkDirectory().path, {"go", "depth", "3"}, limitKib);
        const lines all = fresh.readToExit();
        EXPECT_EQ(answersIn(all), 1) << limitKib;
        EXPECT_TRUE(all.at(4).starts_with(smaller)) << all.at(4);
    }
    engineProcess fresh(networkDirectory().path, {}, 500'000);
    const lines answer = fresh.ask("setoption name Hash value 1\nsetoption name Threads value 256");
    ASSERT_TRUE(answer.back().starts_with("info string Number of threads set to : ")) << answer.back();
    const std::string granted = answer.back().substr(answer.back().rfind(' '));
    EXPECT_EQ(*(answer.end() - 2), "info string Only" + granted + " threads could be started");
    EXPECT_EQ(engineProcess(networkDirectory().path, {"quit"}, 36'000).readToExit("exit code 1").back(),
              "info string Not enough memory to go on");
    for (int scarceKib = 74'000; scarceKib <= 90'000; scarceKib += 2000)
    {
        engineProcess scarce(networkDirectory().path, {}, scarceKib);
        EXPECT_TRUE(scarce.ask("setoption name Threads value 3").back().starts_with("info string Number of threads"))
            << scarceKib;
        scarce.send("go depth 2\nquit");
        EXPECT_EQ(answersIn(scarce.readToExit()), 1) << scarceKib;
    }
}

TEST_F(dialogue, searchesReportFromDepthTenOn)
{
    engine.send("go depth 5");
    EXPECT_EQ(engine.readUntil("bestmove").size(), 1U);
    engine.send("position startpos moves e2e4\ngo depth 11");
    const lines search = engine.readUntil("bestmove");
    ASSERT_EQ(search.size(), 3U) << testing::PrintToString(search);
    for (const int i : {0, 1})
    {
        EXPECT_TRUE(std::regex_match(search[i], reportForm)) << search[i];
        EXPECT_NE(search[i].find(" depth 1" + std::to_string(i) + " seldepth 1"), std::string::npos) << search[i];
    }
    EXPECT_TRUE(std::regex_match(search[2], answerForm)) << search[2];
}

TEST_F(dialogue, endsOfTheGame)
{
    const std::string stalemate = "position fen 7k/5Q2/6K1/8/8/8/8/8 b - - 0 1\n";
    struct
    {
        std::string commands;
        lines answer;
    } const cases[] = {
        {mated + std::string("go depth 3"), {"info score mate 0", "bestmove a1a1"}},
        {mated + std::string("go infinite\nstop"), {"info score mate 0", "bestmove a1a1"}},
        {stalemate + "go depth 3", {"bestmove a1a1"}},
        {"position startpos moves e2e8\ngo infinite", {unplayable, "bestmove a1a1"}},
        {"position fen 4k3/8/8/8/8/8/8/4KR2 b - - 0 1 moves e8f8\ngo", {unplayable, "bestmove a1a1"}},
        {"position startpos\nposition fen 8/8 w\ngo depth 3", {invalid, refused, "bestmove a1a1"}},
        {"go infinite\nposition nowhere\nucinewgame", {refused, "bestmove a1a1"}},
    };
    for (const auto &c : cases)
    {
        engine.send(c.commands);
        EXPECT_EQ(engine.readUntil("bestmove"), c.answer) << c.commands;
    }
    EXPECT_EQ(engine.ask(""), (lines{"readyok", "Unknown command"}));
    for (const char *command : {"perft 2", "evil"})
    {
        EXPECT_EQ(engine.ask(command), lines{refused}) << command;
        EXPECT_EQ(engine.ask(std::string("position startpos moves e2e8\n") + command + "\nposition fen w").front(),
                  unplayable);
    }

    engine.send(mateInOne + std::string("go depth 4"));
    const lines mate = engine.readUntil("bestmove f1f8");
    ASSERT_EQ(mate.size(), 2U);
    EXPECT_TRUE(std::regex_match(mate[0], reportForm)) << mate[0];
    EXPECT_TRUE(mate[0].starts_with("info score mate 1 depth "));
}

// A search that has reached its last depth must wait too. A timed search before an endless one keeps its
// own limits: with those of the next it might never end.
TEST_F(dialogue, endlessSearchesAnswerOnlyToStopOrPonderhit)
{
    struct
    {
        std::string commands;
        const char *end;
    } const cases[] = {
        {"go infinite depth 2 movetime 1", "stop"},
        {mateInOne + std::string("go infinite depth 2 movetime 1"), "stop"},
        {"go ponder movetime 1", "ponderhit"},
        {mateInOne + std::string("go ponder"), "ponderhit"},
        {"go ponder movetime 100", "ponderhit"},
        {"go ponder wtime 1000 btime 1000", "stop"},
        {"go movetime 100\ngo infinite", "stop"},
        {"go movetime 100\ngo ponder", "stop"},
        {"go movetime 100\ngo wtime 2000000000 btime 2000000000", "stop"},
    };
    for (const auto &c : cases)
    {
        SCOPED_TRACE(c.commands + ", " + c.end);
        engine.send("position startpos moves e2e4 e7e5\n" + c.commands);
        if (c.commands.starts_with("go movetime"))
            engine.readUntil("bestmove");
        else if (c.commands.starts_with("go ponder"))
            expectSearching();
        expectSilence();
        engine.send(c.end);
        EXPECT_TRUE(std::regex_match(engine.readUntil("bestmove").back(), answerForm));
        // a command sent right after the answer is not refused while the boss still finishes
        EXPECT_EQ(engine.ask("setoption name Hash value 1"), lines{"info string Size of Hashtable set to : 1"});
    }
}

// Commands that change memory which a search reads wait for its end. They are refused during a search that
// only `stop` ends, because nobody could read the `stop`.
TEST_F(dialogue, commandsThatNeedTheSearchIdle)
{
    const std::string set = "setoption name ";
    const std::string guarded[] = {"go",
                                   "ucinewgame",
                                   "evil",
                                   "rtest",
                                   "bench",
                                   set + "Hash value 4",
                                   set + "Threads value 2",
                                   set + "WindowsNumaNode value 1",
                                   set + "NetFile value none",
                                   set + "SyzygyPath value none",
                                   set + "UCI_Chess960 value true"};
    for (const char *go : {"go infinite", "go ponder"})
    {
        engine.send(std::string(pawnEnding) + go);
        for (const std::string &command : guarded)
        {
            lines answer = engine.ask(command);
            std::erase_if(answer, [](const std::string &text) { return text.starts_with("info score"); });
            EXPECT_EQ(answer, lines{"info string " + command.substr(0, command.find(" value")) + refusal});
        }
        for (const char *command : {"isready", "showboard", "hashstats", "position startpos", "perft 2", "uci",
                                    "setoption name Ponder value true", "setoption name WindowsNumaNode value 0"})
        {
            const lines answer = engine.ask(command);
            EXPECT_EQ(answersIn(answer) + refusalsIn(answer), 0) << command;
        }
        engine.send("stop");
        engine.readUntil("bestmove");
    }
    for (const std::string &command : guarded)
    {
        engine.send("setoption name NetFile value 220321-307.nnue\ngo movetime 50");
        const lines both = engine.ask(command == "bench" ? "bench 1" : command);
        EXPECT_EQ(answersIn(both), 1) << command;
        EXPECT_EQ(refusalsIn(both), 0) << command;
        if (command == "go")
        {
            engine.send("stop");
            engine.readUntil("bestmove");
        }
    }
}

TEST_F(dialogue, quitAndEndOfInputInEveryState)
{
    for (const std::string state : {"stop", "go infinite", "go ponder", "go movetime 200", "go infinite\nstop"})
        for (const bool isQuit : {true, false})
        {
            SCOPED_TRACE(state + (isQuit ? ", quit" : ", end of input"));
            engineProcess fresh(networkDirectory().path);
            fresh.send("setoption name Hash value 1\nsetoption name Threads value 2\n" + state);
            if (isQuit)
                fresh.send("quit");
            else
                fresh.endInput();
            EXPECT_EQ(answersIn(fresh.readToExit()), state.starts_with("go") ? 1 : 0);
        }
}

TEST_F(dialogue, wordsAfterTheProgramName)
{
    struct
    {
        lines words;
        int status;
        const char *lastLine;
    } const cases[] = {
        {{"go", "depth", "3"}, 0, "bestmove "},
        {{"perft", "3"}, 0, "Perft results for depth: 3  8902  "},
        {{"quit"}, 0, "Net read"},
        {{"setoption", "name", "Hash", "value", "2"}, 0, "info string Size of Hashtable set to : 2"},
        {{""}, 1, "Unknown command"},
        {{"Quit"}, 1, "Unknown command"},
        {{"perft", "0"}, 1, "info string perft needs a depth from 1 to 127"},
        {{"setoption name Hash value x"}, 1, "info string Hash needs a number, got: x"},
        {{"setoption name NetFile value none"}, 1, "info string NetFile not found/correct: none."},
        {{"position fen 8/8 w"}, 1, invalid},
        {{"genfens", "0"}, 1, "info string genfens needs a count from 1 to 1000000 and a whole seed"},
        {{"rtest"}, 1, "There seems to be a problem with the perftFile. check of the move generator not executed"},
        {{"texel"}, 1, "There seems to be a problem with the tuning file. tuning not executed"},
    };
    for (const auto &c : cases) // the input is left open
        EXPECT_TRUE(engineProcess(networkDirectory().path, c.words)
                        .readToExit("exit code " + std::to_string(c.status))
                        .back()
                        .starts_with(c.lastLine))
            << c.lastLine;
    if (!isForeignEngine())
        EXPECT_EQ(WEXITSTATUS(std::system(("'" + std::string(engineProgram()) + "' perft 1 >/dev/full").c_str())), 1)
            << "output that is lost";
}

// The controller has abandoned the game: nobody waits for the answer.
TEST_F(dialogue, newGameEndsATimedSearch)
{
    const std::int64_t start = millisecondsNow();
    engine.send("go movetime 60000\nucinewgame");
    const lines both = engine.readUntil("readyok");
    EXPECT_LT(millisecondsNow() - start, 30000);
    EXPECT_EQ(answersIn(both), 1);
}

TEST_F(dialogue, waitingForASearchLeavesStopAndQuitInForce)
{
    struct
    {
        const char *waiting, *end;
    } const cases[] = {
        {"setoption name Hash value 4", "stop"},
        {"go movetime 60000", "stop"},
        {"evil", "quit"},
        {"evil", nullptr},
    };
    for (const auto &c : cases)
        for (const bool isSentAhead : {false, true})
        {
            SCOPED_TRACE(std::string(c.waiting) + ", " + (c.end == nullptr ? "end of input" : c.end));
            engineProcess fresh(networkDirectory().path);
            const std::int64_t start = millisecondsNow();
            fresh.send("setoption name Hash value 1\ngo movetime 60000");
            fresh.readUntil("info string Size");
            fresh.send(c.waiting);
            if (!isSentAhead)
                fresh.readLine(100);
            if (c.end != nullptr)
                fresh.send(c.end);
            fresh.endInput();
            EXPECT_EQ(answersIn(fresh.readToExit()), *c.waiting == 'g' ? 2 : 1);
            EXPECT_LT(millisecondsNow() - start, 30000);
        }
}

TEST_F(dialogue, longLines)
{
    std::string game = "position startpos moves";
    for (int i = 0; i < 5000; ++i)
        game += " g1f3 g8f6 f3g1 f6g8";
    EXPECT_EQ(engine.ask(game + " e2e4"), lines{});
    EXPECT_EQ(engine.ask("showboard").at(9), "|   |   |   |   | P |   |   |   |");
    for (int i = 0; i < 3; ++i) // more in all than is read ahead
        EXPECT_EQ(engine.ask("isready " + std::string(4'000'000, 'x')), lines{"readyok"});
    const lines dropped = {"info string Line of more than 4194304 bytes dropped"};
    EXPECT_EQ(engine.ask(std::string(5'000'000, 'x')), dropped);
    engine.send("go depth 1");
    EXPECT_TRUE(std::regex_match(engine.readUntil("bestmove").back(), answerForm)) << "no position was lost";
    for (int i = 0; i < 42; ++i)
        game += game.substr(23, 100'000);
    EXPECT_EQ(engine.ask(game), dropped);
    engine.send("go infinite");
    EXPECT_EQ(engine.readUntil("bestmove a1a1").at(0), refused);
}

// Of searches by one thread: the thread sanitizer would only slow these two down.
#ifndef __SANITIZE_THREAD__
/// The output of searches of these positions to depth 10, without times and speeds.
lines searchesOf(engineProcess &engine, const lines &positions)
{
    static const std::regex ofTheClock(" nps [0-9]+ time [0-9]+");
    lines all;
    for (const std::string &position : positions)
    {
        engine.send("position startpos moves " + position + "\ngo depth 10");
        for (const std::string &text : engine.readUntil("bestmove"))
            if (text.starts_with("info score") || text.starts_with("bestmove"))
                all.push_back(std::regex_replace(text, ofTheClock, ""));
    }
    return all;
}

// Neither the first game nor another network influences the second.
TEST_F(dialogue, aNewGameIsSearchedAsByAFreshProcess)
{
    const std::string another = networkDirectory() / "another.nnue";
    ASSERT_TRUE(writeSyntheticNetwork(another, {.seed = 7}));
    const lines first = {"e2e4", "e2e4 c7c5 g1f3"}, second = {"d2d4 d7d5", "d2d4 d7d5 c2c4 e7e6"};
    searchesOf(engine, second);
    searchesOf(engine, first);
    engine.send("ucinewgame\nsetoption name NetFile value another.nnue\nucinewgame");
    const lines afterAnother = searchesOf(engine, second);
    engine.send("setoption name NetFile value 220321-307.nnue\nucinewgame");
    const lines afterGame = searchesOf(engine, second);

    startedEngine fresh, freshAnother;
    EXPECT_EQ(afterGame, searchesOf(fresh, second));
    freshAnother.send("setoption name NetFile value another.nnue");
    EXPECT_EQ(afterAnother, searchesOf(freshAnother, second));
    EXPECT_NE(afterAnother, afterGame);
}

// Earlier commands do not influence the bench, and the bench changes nothing.
TEST_F(dialogue, benchIsTheSameEveryTime)
{
    const std::regex form("([0-9]+) nodes [0-9]+ nps");
    std::smatch fresh, later;
    const std::string first = engineProcess(networkDirectory().path, {"bench", "6"}).readToExit().back();
    ASSERT_TRUE(std::regex_match(first, fresh, form)) << first;
    engine.ask(std::string(mated) + "setoption name UCI_Chess960 value true\nsetoption name Threads value 2");
    const lines board = engine.ask("showboard");
    const lines all = engine.ask("bench 6");
    ASSERT_EQ(all.size(), 1U) << testing::PrintToString(all);
    ASSERT_TRUE(std::regex_match(all[0], later, form)) << all[0];
    EXPECT_EQ(fresh[1], later[1]);
    EXPECT_EQ(engine.ask("showboard"), board);
    EXPECT_EQ(engine.ask("hashstats").at(2), "Number of entries " + std::to_string(8 * 16384 * 4));
    engine.send("go depth 2");
    EXPECT_EQ(engine.readUntil("bestmove"), (lines{"info score mate 0", "bestmove a1a1"})) << "reports are back";
}
#endif

TEST_F(dialogue, hashstatsCountsTheTable)
{
    EXPECT_EQ(engine.ask("hashstats").at(3), "Used entries 1") << "none, printed as one";
    const auto search = [&](const char *commands)
    {
        engine.send(commands);
        engine.readUntil("bestmove");
        return engine.ask("hashstats");
    };
    const auto numberAfter = [](const std::string &row, const char *text)
    { return std::stoi(row.substr(row.find(text) + std::strlen(text))); };
    const auto sumOf = [&](const lines &rows, std::size_t first, std::size_t count)
    {
        int sum = 0;
        for (std::size_t row = first; row < first + count; ++row)
            sum += numberAfter(rows[row], "  ");
        return sum;
    };
    const lines filled = search("go depth 8");
    ASSERT_EQ(filled.size(), 9U + 64U + 128U);
    const int used = numberAfter(filled[3], "Used entries ");
    EXPECT_GT(used, 100);
    EXPECT_EQ(sumOf(filled, 8, 64), used);
    EXPECT_EQ(sumOf(filled, 73, 128), used);
    EXPECT_EQ(sumOf(filled, 8, 1), used) << "of age 0";
    EXPECT_GT(sumOf(search("position startpos moves e2e4\ngo depth 8"), 9, 1), 100);
    EXPECT_EQ(sumOf(search("ucinewgame\ngo depth 8"), 9, 1), 0);
}

TEST_F(dialogue, linesOfConsoleAndSearchDoNotMix)
{
    constexpr int questions = 2000;
    std::string commands = "setoption name Threads value 2\n" + std::string(pawnEnding) + "go infinite\n";
    for (int i = 0; i < questions; ++i)
        commands += "isready\n";
    engine.send(commands + "stop");
    const lines output = engine.readUntil("bestmove");
    EXPECT_EQ(std::ranges::count(output, "readyok"), questions);
    for (const std::string &text : output)
        EXPECT_TRUE(text == "readyok" || text == "info string Number of threads set to : 2" ||
                    std::regex_match(text, reportForm) || std::regex_match(text, answerForm))
            << text;
}

TEST_F(dialogue, timeIsKept)
{
    for (const char *commands :
         {"go movetime 300", "go wtime -5 btime -5", "go movestogo 0 wtime 1000 btime 1000", "go movetime -1",
          "go ponder depth 2", "setoption name Threads value 2\ngo infinite\nisready\nstop"})
    {
        const std::int64_t start = millisecondsNow();
        engine.send(commands);
        engine.readUntil("bestmove");
        EXPECT_LE(millisecondsNow() - start, 3000) << commands;
    }
}

} // namespace
} // namespace tarvonel
