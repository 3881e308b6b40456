// Matches between scripted players: results by the rules, by adjudication and by fault, clocks,
// files, and the statistics.

#include <algorithm>
#include <cmath>
#include <csignal>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <stdexcept>
#include <string>
#include <sys/resource.h>
#include <vector>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "match/elo.h"
#include "match/matchRun.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"
#include "textFile.h"
#include "words.h"

namespace tarvonel
{
namespace
{

/// A player that answers each "go" with the next of its words; "exit" ends it, "slow:MOVE" waits
/// first. Each move comes with the report of a score, +12 centipawns.
constexpr const char *scriptedPlayer = R"(moves="$*"
while read -r word rest; do
  case "$word" in
    uci) echo uciok ;;
    isready) echo readyok ;;
    ucinewgame) set -- $moves ;;
    quit) exit 0 ;;
    go) case "$1" in
          exit) exit 7 ;;
          slow:*) sleep 1.7 ;;
        esac
        echo "info score cp 12 depth 10 nodes 500 pv $1"
        echo "bestmove ${1#slow:} ponder e7e5"
        shift ;;
  esac
done
)";

class matchGameTest : public testing::Test
{
  protected:
    void SetUp() override { std::ofstream(script) << scriptedPlayer; }

    finishedGame play(const gamePlan &plan, const std::string &whiteMoves, const std::string &blackMoves) const
    {
        const engineSettings settings[2] = {{"first", {"sh", script, whiteMoves}, "", {}, plan.chess960},
                                            {"second", {"sh", script, blackMoves}, "", {}, plan.chess960}};
        matchEngine engines[2];
        for (int i = 0; i < 2; ++i)
        {
            engines[i].settings = &settings[i];
            startEngine(engines[i]);
        }
        finishedGame game = playGame(engines[0], engines[1], plan);
        stopEngine(engines[0]);
        stopEngine(engines[1]);
        return game;
    }

    temporaryDirectory directory;
    std::string script = directory / "player.sh";
};

const char *const start = startPositionFen;
template <typename Work> std::string errorOf(const Work &work)
{
    try
    {
        work();
    }
    catch (const std::runtime_error &error)
    {
        return error.what();
    }
    return {};
}

const struct
{
    const char *fen, *whiteMoves, *blackMoves;
    int whitePoints;
    gameFault fault;
    const char *reason; ///< part of it
    const char *lastMove;
} knownGames[] = {
    {start, "f2f3 g2g4", "e7e5 d8h4", 0, gameFault::none, "checkmate", "Qh4#"},
    {start, "e2e4 d1h5 f1c4 h5f7", "e7e5 b8c6 g8f6", 2, gameFault::none, "checkmate", "Qxf7#"},
    {start, "g1f3 f3g1 g1f3 f3g1", "g8f6 f6g8 g8f6 f6g8", 1, gameFault::none, "threefold", "Ng8"},
    {"7k/8/8/6Q1/8/8/8/K7 w - - 0 1", "g5g6", "", 1, gameFault::none, "stalemate", "Qg6"},
    {"7k/8/8/8/8/8/8/KR6 w - - 98 70", "b1b2", "h8h7", 1, gameFault::none, "fifty", "Kh7"},
    {"7k/8/8/8/8/8/1r6/K7 w - - 0 1", "a1b2", "", 1, gameFault::none, "material", "Kxb2"},
    {"8/P6k/8/8/8/8/8/K7 w - - 0 1", "a7a8q exit", "h7g7", 0, gameFault::crash, "exit code 7", "Kg7"},
    {"7k/8/5Q2/8/8/8/8/K7 b - - 0 1", "", "h8g7", 2, gameFault::illegalMove, "illegal move: h8g7", ""},
    {"4k3/8/8/8/8/1N6/8/1N2K3 w - - 0 1", "b1d2 e1e2", "e8e7 exit", 2, gameFault::crash, "exit code 7", "Ke2"},
    {"4k3/8/8/8/8/1N6/8/1N2K3 w - - 0 1", "b1d2 exit", "e8e7", 0, gameFault::crash, "exit code 7", "Ke7"},
    {start, "e2e4 d2d4", "e7e5 a1a1", 2, gameFault::illegalMove, "illegal move: a1a1", "d4"},
    {start, "e2e4 slow:d2d4", "e7e5 d7d5", 0, gameFault::timeLoss, "loses on time", "e5"},
};

TEST_F(matchGameTest, knownGamesAreScoredRightly)
{
    for (const auto &known : knownGames)
    {
        SCOPED_TRACE(std::string(known.fen) + ": " + known.whiteMoves);
        gamePlan plan;
        plan.openingFen = known.fen;
        plan.limits.moveTime = 1500;
        const finishedGame game = play(plan, known.whiteMoves, known.blackMoves);
        ASSERT_TRUE(game.whitePoints.has_value());
        EXPECT_EQ(*game.whitePoints, known.whitePoints);
        EXPECT_EQ(game.fault, known.fault);
        EXPECT_NE(game.reason.find(known.reason), std::string::npos) << game.reason;
        EXPECT_EQ(game.moves.empty() ? "" : game.moves.back().text, known.lastMove);
    }
}

/// Records each line that it receives in the file $1. Plays the moves $2 where it moves first from
/// the start position and $3 where second, $4 and $5 in other positions, there with the score $6, and
/// waits $7 seconds before each move. "exit" ends it.
constexpr const char *recordingPlayer = R"(
while read -r line; do
  echo "$line" >>"$1"
  case "$line" in
    uci) echo uciok ;;
    isready) echo readyok ;;
    ucinewgame) moves=new ;;
    quit) exit 0 ;;
    position*)
      case "$line" in
        *rnbqkbnr*moves*) list=$3 report= ;;
        *rnbqkbnr*) list=$2 report= ;;
        *moves*) list=$5 report="info depth 9 score cp $6" ;;
        *) list=$4 report="info depth 9 score cp $6" ;;
      esac
      [ "$moves" = new ] && moves=$list ;;
    go*)
      sleep "$7"
      move=${moves%% *} moves=${moves#* }
      [ "$move" = exit ] && exit 7
      echo "$report"
      echo "bestmove $move" ;;
  esac
done
)";

constexpr const char *rookEnding = "r3k3/8/8/8/8/8/8/R3K3 b - - 3 17"; ///< shuffled until it is adjudicated

class matchTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        std::ofstream(directory / "player.sh") << recordingPlayer;
        plan.engines[0] =
            player("winner", {"e2e4 d1h5 f1c4 h5f7", "e7e5 d8h4", "e8d8 d8e8", "e1d1 d1e1", "900", "0.3"});
        plan.engines[1] = player("loser", {"f2f3 g2g4", "e7e5 b8c6 g8f6", "e8d8 d8e8", "e1d1 d1e1", "-900", "0"});
        plan.openings = {startPositionFen, rookEnding};
        plan.game.limits = {.clock = 20000, .increment = 1000};
        plan.game.rules = {.resignScore = 600, .resignMoves = 2};
        plan.games = 4;
        plan.pgnFile = directory / "games.pgn";
        plan.tallyFile = directory / "tally";
        plan.faultFile = directory / "faults";
    }

    engineSettings player(const std::string &name, const std::vector<std::string> &words) const
    {
        engineSettings settings{name, {"sh", directory / "player.sh", directory / name}, "", {"Hash=3"}, false};
        settings.command.insert(settings.command.end(), words.begin(), words.end());
        return settings;
    }

    /// The lines that a player received which begin like this, without that beginning.
    std::vector<std::string> received(const std::string &name, const std::string &beginning) const
    {
        std::vector<std::string> found;
        for (const std::string &line : readLines(directory / name))
            if (line.starts_with(beginning))
                found.push_back(line.substr(beginning.size()));
        return found;
    }

    matchResult play()
    {
        std::ostringstream report;
        const matchResult result = playMatch(plan, report);
        reported = report.str();
        return result;
    }

    temporaryDirectory directory;
    matchPlan plan;
    std::string reported;
};

/// The number after a word of a `go` line.
int clockOf(const std::string &line, const std::string &word)
{
    const std::vector<std::string> words = splitWords(line);
    const auto found = std::ranges::find(words, word);
    return found == words.end() || found + 1 == words.end() ? -1 : std::stoi(found[1]);
}

TEST_F(matchTest, winsColoursClocksAndFilesAreTheWinners)
{
    const matchResult result = play();
    EXPECT_EQ(result.tally.wins, 4);
    EXPECT_EQ(result.tally.losses + result.tally.draws + result.faults, 0);
    EXPECT_EQ(result.tally.pairs[4], 2);
    EXPECT_NE(reported.find("winner - loser: +4 =0 -0  100.0%"), std::string::npos) << reported;

    // Each game: a new game, then the positions with all moves so far.
    const std::string first = std::string("fen ") + startPositionFen;
    const std::string second = std::string("fen ") + rookEnding;
    EXPECT_EQ(received("winner", "position "),
              (std::vector<std::string>{first, first + " moves e2e4 e7e5", first + " moves e2e4 e7e5 d1h5 b8c6",
                                        first + " moves e2e4 e7e5 d1h5 b8c6 f1c4 g8f6", first + " moves f2f3",
                                        first + " moves f2f3 e7e5 g2g4", second + " moves e8d8",
                                        second + " moves e8d8 e1d1 d8e8", second, second + " moves e8d8 e1d1"}));
    for (const char *plainName : {"winner", "loser"})
    {
        EXPECT_EQ(received(plainName, "ucinewgame").size(), 4U);
        EXPECT_EQ(received(plainName, "setoption name Hash value 3").size(), 1U);
    }

    // Both gain from the increment, the winner 300 ms less with each move.
    const std::vector<std::string> clocks = received("winner", "go ");
    ASSERT_EQ(clocks.size(), 10U);
    const struct
    {
        int line;
        const char *own, *other;
        int moves; ///< of the winner before
    } cases[] = {{0, "wtime", "btime", 0}, {1, "wtime", "btime", 1}, {3, "wtime", "btime", 3}, {4, "btime", "wtime", 0},
                 {5, "btime", "wtime", 1}, {7, "wtime", "btime", 1}, {9, "btime", "wtime", 1}};
    for (const auto &known : cases)
    {
        const std::string &line = clocks[static_cast<std::size_t>(known.line)];
        const int own = clockOf(line, known.own);
        const int other = clockOf(line, known.other);
        EXPECT_LE(own, 20000 + 700 * known.moves) << line;
        EXPECT_LE(other, 20000 + 1000 * 3) << line;
        if (known.moves > 0)
        {
            EXPECT_GT(own, 20000) << line;
            EXPECT_GT(other, 20000) << line;
        }
        EXPECT_EQ(clockOf(line, "winc"), 1000) << line;
        EXPECT_EQ(clockOf(line, "binc"), 1000) << line;
    }

    const std::vector<std::string> pgn = readLines(plan.pgnFile);
    std::vector<std::string> players;
    for (const std::string &line : pgn)
        if (line.starts_with("[White ") || line.starts_with("[Result ") || line.starts_with("[Termination "))
            players.push_back(line);
    const std::string decided = "[Termination \"adjudication: both engines report a decided game\"]";
    EXPECT_EQ(players, (std::vector<std::string>{
                           "[White \"winner\"]", "[Result \"1-0\"]", "[Termination \"checkmate\"]", "[White \"loser\"]",
                           "[Result \"0-1\"]", "[Termination \"checkmate\"]", "[White \"winner\"]", "[Result \"1-0\"]",
                           decided, "[White \"loser\"]", "[Result \"0-1\"]", decided}));
    EXPECT_TRUE(std::ranges::any_of(pgn, [](const std::string &line) { return line.starts_with("17... Kd8 {"); }));
}

TEST_F(matchTest, aKilledMatchGoesOn)
{
    plan.engines[0].command.back() = "0";
    plan.games = 2;
    play();
    std::ofstream(plan.tallyFile, std::ios::app) << "2 0"; // torn by a kill
    plan.games = 4;
    const matchResult result = play();
    EXPECT_EQ(result.tally.wins, 4);
    EXPECT_EQ(result.tally.pairs[4], 2);
    EXPECT_EQ(received("winner", "ucinewgame").size(), 4U);
    EXPECT_EQ(readLines(plan.tallyFile), (std::vector<std::string>{"winner - loser", "0 2", "1 2", "2 2", "3 2"}));
    plan.engines[1].name = "other";
    EXPECT_NE(errorOf([this] { play(); }).find("belongs to another match"), std::string::npos);
}

TEST_F(matchTest, aSequentialTestEndsWhenItIsDecidedEitherWay)
{
    plan.engines[0].command.back() = "0";
    plan.games = 40;
    plan.sprt = {-5, 5};
    for (int i = 0; i < 2; ++i)
    {
        plan.tallyFile = directory / ("tally" + std::to_string(i));
        const matchResult result = play();
        EXPECT_EQ(i == 0 ? result.tally.losses : result.tally.wins, 0);
        EXPECT_LT(result.tally.wins + result.tally.losses, 10) << reported;
        std::swap(plan.engines[0], plan.engines[1]);
    }
}

TEST_F(matchTest, enginesThatEndAreReplacedAndLeaveNoDescriptors)
{
    plan.engines[0].command.back() = "0";
    plan.engines[1].command[3] = "f2f3 exit"; // where it moves first from the start position
    plan.openings = {startPositionFen};
    plan.concurrency = 2;
    const auto openDescriptors = [] { return std::distance(std::filesystem::directory_iterator("/proc/self/fd"), {}); };
    const auto before = openDescriptors();
    const matchResult result = play();
    EXPECT_EQ(openDescriptors(), before);
    EXPECT_EQ(result.tally.wins, 4);
    EXPECT_EQ(result.faults, 2);
    const std::vector<std::string> faults = readLines(plan.faultFile);
    EXPECT_EQ(std::ranges::count_if(faults, [](const std::string &line)
                                    { return line.ends_with("loser disconnects: exit code 7"); }),
              2);
}

std::size_t textSize(const std::vector<std::string> &lines)
{
    std::size_t size = 0;
    for (const std::string &line : lines)
        size += line.size() + 1;
    return size;
}

TEST_F(matchTest, aFullDiskEndsTheMatchWithItsFilesWhole)
{
    plan.engines[0].command.back() = "0";
    plan.engines[0].command[2] = plan.engines[1].command[2] = "/dev/null";
    rlimit before{};
    ASSERT_EQ(getrlimit(RLIMIT_FSIZE, &before), 0);
    const rlimit small{600, before.rlim_max}; // one game is shorter, two are longer
    const auto earlierHandler = std::signal(SIGXFSZ, SIG_IGN);
    ASSERT_EQ(setrlimit(RLIMIT_FSIZE, &small), 0);
    const std::string error = errorOf([this] { play(); });
    setrlimit(RLIMIT_FSIZE, &before);
    std::signal(SIGXFSZ, earlierHandler);
    EXPECT_EQ(error, "cannot write " + plan.pgnFile + ": File too large");
    const std::vector<std::string> pgn = readLines(plan.pgnFile);
    EXPECT_EQ(std::ranges::count_if(pgn, [](const std::string &line) { return line.starts_with("[Event "); }), 1);
    EXPECT_EQ(std::filesystem::file_size(plan.pgnFile), textSize(pgn));
    EXPECT_EQ(readTally(plan.tallyFile).size(), 1U);
    EXPECT_EQ(play().tally.wins, 4);
}

TEST(adjudication, endsGamesOnlyWhenBothEnginesAgree)
{
    const adjudicationRules rules{
        .resignScore = 500, .resignMoves = 2, .drawScore = 10, .drawMoves = 2, .drawPly = 6, .maxPlies = 8};
    const struct
    {
        const char *name;
        std::vector<std::optional<int>> scores; ///< each from the mover's view, white first
        std::optional<int> whitePoints;         ///< after the last of them; before it, the game goes on
    } games[] = {
        {"white winning", {600, -600, 700, -500}, 2},
        {"black winning", {-600, 600, -700, 500}, 0},
        {"one of them doubts", {600, -600, 700, -499, 600, -600, 700}, std::nullopt},
        {"the two contradict each other", {600, 600, 600, 600, 600, 600, 600}, std::nullopt},
        {"a move without a score", {600, -600, std::nullopt, -600, 600, -600}, std::nullopt},
        {"level, but not before the ply", {0, 0, 0, 0, 10, -10}, 1},
        {"too long", {100, 100, 100, 100, 100, 100, 100, 100}, 1},
    };
    for (const auto &judged : games)
    {
        SCOPED_TRACE(judged.name);
        adjudicator judge{rules};
        std::string reason;
        for (std::size_t i = 0; i < judged.scores.size(); ++i)
        {
            const std::optional<int> points = adjudicate(judge, static_cast<colour>(i % 2), judged.scores[i], reason);
            EXPECT_EQ(points, i + 1 < judged.scores.size() ? std::nullopt : judged.whitePoints) << i;
        }
    }
}

TEST(elo, resultsGiveRatingsAndEvidence)
{
    EXPECT_NEAR(estimateElo({.wins = 60, .draws = 20, .losses = 20}).elo, 147.19, 0.01);
    EXPECT_TRUE(std::isinf(estimateElo({.wins = 5}).elo));
    EXPECT_EQ(estimateElo({}).margin, 0);
    const matchTally even{.wins = 20, .draws = 60, .losses = 20, .pairs = {10, 0, 30, 0, 10}};
    EXPECT_DOUBLE_EQ(estimateElo(even).elo, 0);
    EXPECT_NEAR(estimateElo(even).margin, 61.54, 0.05);
    const matchTally better{.wins = 300, .draws = 600, .losses = 100, .pairs = {5, 45, 250, 150, 50}};
    EXPECT_GT(logLikelihoodRatio(better, 0, 20), upperBound(0.05, 0.05));
    EXPECT_LT(logLikelihoodRatio(better, 100, 120), lowerBound(0.05, 0.05));
    EXPECT_NEAR(logLikelihoodRatio(even, -10, 10), 0, 1e-9);
    EXPECT_EQ(logLikelihoodRatio({}, 0, 5), 0);
    EXPECT_NEAR(upperBound(0.05, 0.05), 2.944, 0.001);
}

TEST(matchEngine, reportsAreReadWithTheirMates)
{
    const struct
    {
        const char *line;
        std::optional<int> score;
        int depth;
    } cases[] = {
        {"info score cp -31 depth 12 seldepth 20 nodes 4000 nps 1 time 1 tbhits 0 pv e2e4 depth 99", -31, 12},
        {"info score mate 2 depth 13", 31997, 13},
        {"info score mate -2 depth 13", -31996, 13},
        {"info string depth 7 score cp 9", std::nullopt, 0},
        {"info score cp", std::nullopt, 0},
        {"info score cp x depth 3", std::nullopt, 3},
        {"info score mate 9223372036854775807 depth 99999999999", 12001, 10000},
        {"info score mate -9223372036854775808 nodes -3 depth -3", -12000, 0},
        {"info score cp -2147483648", -32000, 0},
        {"info score cp 99999999999999999999", 32000, 0},
    };
    for (const auto &report : cases)
    {
        engineAnswer answer;
        readReport(report.line, answer);
        EXPECT_EQ(answer.score, report.score) << report.line;
        EXPECT_EQ(answer.depth, report.depth) << report.line;
        EXPECT_LE(answer.nodes, 4000U) << report.line;
    }
}

TEST(matchEngine, programsThatCannotPlayAreToldApart)
{
    const std::pair<engineSettings, const char *> cases[] = {
        {{"missing", {"/no/such/program"}, "", {}, false}, "cannot start /no/such/program"},
        {{"mute", {"true"}, "", {}, false}, "ended with exit code 0"},
        {{"lost", {"sh"}, "/no/such/directory", {}, false}, "cannot start sh"}};
    for (const auto &[settings, message] : cases)
    {
        matchEngine engine;
        engine.settings = &settings;
        EXPECT_NE(errorOf([&] { startEngine(engine); }).find(message), std::string::npos) << message;
    }
}

} // namespace
} // namespace tarvonel
