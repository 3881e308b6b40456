// Matches between scripted players: results by the rules, by adjudication and by fault, and what
// the statistics make of them.

#include <cmath>
#include <fstream>
#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "match/elo.h"
#include "match/matchGame.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"

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
            EXPECT_EQ(startEngine(engines[i]), "");
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
    };
    for (const auto &report : cases)
    {
        engineAnswer answer;
        readReport(report.line, answer);
        EXPECT_EQ(answer.score, report.score) << report.line;
        EXPECT_EQ(answer.depth, report.depth) << report.line;
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
        EXPECT_NE(startEngine(engine).find(message), std::string::npos) << message;
    }
}

} // namespace
} // namespace tarvonel
