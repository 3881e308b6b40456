// Games of the engine against itself, and which of their positions are learnt from.

#include <string>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "eval/evaluate.h"
#include "games/selfGame.h"
#include "games/selfSearch.h"
#include "learning/trainingData.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{
namespace
{

class selfGameTest : public testing::Test
{
  protected:
    void SetUp() override
    {
        networkLimit = 0;
        startSelfSearch(1);
    }
    void TearDown() override
    {
        endSelfSearch();
        networkLimit = defaultNetworkLimit;
    }

    storedGame play(const selfPlayPlan &plan, std::uint64_t seed)
    {
        randomSource random(seed);
        std::optional<storedGame> game;
        while (!game)
            game = playSelfGame(*board, plan, random);
        return *game;
    }

    variantScope variant{true};
    std::unique_ptr<posWithMoves> board = std::make_unique<posWithMoves>();
};

TEST_F(selfGameTest, gamesAreLegalReproducibleAndLearntFrom)
{
    const temporaryDirectory directory;
    const std::string path = directory / "games";
    gameWriter writer;
    ASSERT_EQ(openForAppending(writer, path), "");
    for (const bool quick : {true, false})
    {
        selfPlayPlan plan;
        plan.quick = quick;
        plan.limits = {.softNodes = 100, .hardNodes = 400};
        plan.opening.chess960Share = 0.5;
        for (std::uint64_t seed = 1; seed <= 6; ++seed)
        {
            const storedGame game = play(plan, seed);
            EXPECT_GT(game.moves.size(), 0U);
            ASSERT_TRUE(appendGame(writer, game));
            if (seed == 3)
                EXPECT_EQ(encodeGame(play(plan, seed)), encodeGame(game));
        }
    }
    closeWriter(writer);
    trainingData data;
    workCrew crew(2);
    EXPECT_EQ(openData(data, {path}, {}, 1000000, crew), "");
    EXPECT_EQ(data.games, 12U);
    EXPECT_EQ(data.badGames, 0U);
    EXPECT_EQ(data.positions, writer.summary.positions);
    EXPECT_GT(data.learnable, data.positions / 20);
    EXPECT_LT(data.learnable, data.positions);
    std::vector<trainingPosition> positions;
    readPieces(positions, data, std::vector<std::uint32_t>{0}, {}, {}, crew);
    EXPECT_EQ(positions.size(), data.learnable);
    closeData(data);
    EXPECT_NE(openData(data, {directory / "none"}, {}, 1000000, crew), "");
}

TEST_F(selfGameTest, onlyQuietBalancedPositionsAreLearntFrom)
{
    struct filterCase
    {
        const char *fen, *move;
        int score;
        bool isTaken;
    };
    const filterCase cases[] = {
        {"4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", "a2a4", 20, true},
        {"4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", "a2a4", unscored, false},
        {"4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", "a2a4", 3001, false},
        {"4k3/pppp4/8/8/1p6/P7/1PPP4/4K3 w - - 0 1", "a3b4", 20, false},
        {"4k3/pppp4/8/8/8/8/PPPP3r/4K3 w - - 0 1", "e1d1", -20, false},
        {"4k3/P3pppp/8/8/8/8/5PPP/4K3 w - - 0 1", "a7a8q", 20, false},
        {"4k3/pppp4/8/8/8/8/PPPP4/R3K2R w HA - 0 1", "e1h1", 20, false},
        {"r3k2r/pppp4/8/8/8/8/PPPP4/R3K2R w HAha - 0 1", "e1h1", 20, true},
        {"4k3/pppp4/8/8/8/8/PPPP3r/R3K3 w A - 0 1", "a2a4", 20, true},
    };
    for (const filterCase &each : cases)
    {
        ASSERT_EQ(setupPlayablePosition(each.fen, board->position), "") << each.fen;
        const moveCode move = findMove(*board, legalMoves(*board), each.move);
        ASSERT_NE(move, noMove) << each.fen;
        EXPECT_EQ(isWorthLearning(board->position, move, each.score, {}), each.isTaken) << each.fen << " " << each.move;
    }
}

} // namespace
} // namespace tarvonel
