// From the record of a game to the positions that the trainer learns from.

#include <algorithm>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "learning/trainingData.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{
namespace
{

constexpr int neverValidating = 1'000'000'007;

struct scoredMove
{
    const char *text;
    int score;
};

storedGame makeGame(const char *fen, const std::vector<scoredMove> &moves, int whitePoints)
{
    const auto board = std::make_unique<posWithMoves>();
    EXPECT_EQ(setupPlayablePosition(fen, board->position), "");
    storedGame game;
    game.start = packStart(board->position);
    game.whitePoints = whitePoints;
    for (const scoredMove &each : moves)
    {
        const moveCode move = findMove(*board, legalMoves(*board), each.text);
        EXPECT_NE(move, noMove) << each.text;
        game.moves.push_back({packMove(move), static_cast<std::int16_t>(each.score)});
        playGameMove(board->position, move);
    }
    return game;
}

/// The training positions of a file with these games.
class trainingDataTest : public testing::Test
{
  protected:
    void write(const std::vector<storedGame> &games)
    {
        gameWriter writer;
        openForAppending(writer, path);
        for (const storedGame &game : games)
            appendGame(writer, game);
        closeWriter(writer);
    }

    std::vector<trainingPosition> read(const dataSettings &settings, const passNumber &pass = {})
    {
        trainingData data;
        workCrew crew(1);
        EXPECT_EQ(openData(data, {path}, settings, 1'000'000, crew), "");
        std::vector<std::uint32_t> pieces(data.pieces.size());
        std::iota(pieces.begin(), pieces.end(), 0U);
        std::vector<trainingPosition> positions;
        readPieces(positions, data, pieces, settings, pass, crew);
        EXPECT_EQ(positions.size(), data.learnable);
        closeData(data);
        return positions;
    }

    static dataSettings allPositions()
    {
        dataSettings settings;
        settings.firstPly = 0;
        settings.validationShare = neverValidating;
        return settings;
    }

    variantScope variant{true};
    temporaryDirectory directory;
    std::string path = directory / "games";
};

// One game that the side to move first loses, once as white and once as black. With scale 250 its scores
// 100, -50 and 200 are expected results of .598688, .450166 and .689974.
TEST_F(trainingDataTest, targetsAreThoseComputedByHand)
{
    const std::vector<scoredMove> whiteFirst = {{"e2e4", 100}, {"e7e5", -50}, {"g1f3", unscored}, {"b8c6", 200}};
    const std::vector<scoredMove> blackFirst = {{"a7a6", 100}, {"a2a3", -50}, {"b7b6", unscored}, {"b2b3", 200}};
    write({makeGame("rnbqkbnr/pppppppp/8/8/8/8/PPPPPPPP/RNBQKBNR w KQkq - 0 1", whiteFirst, 0),
           makeGame("4k3/pppp4/8/8/8/8/PPPP4/4K3 b - - 0 1", blackFirst, 2)});
    const struct
    {
        double wdlWeight, wdlDecay, tdLambda;
        double targets[3]; // plies 0, 1 and 3
    } cases[] = {
        {0.0, 1.0, 0.0, {.598688, .450166, .689974}}, {0.5, 1.0, 0.0, {.299344, .725083, .844987}},
        {0.5, 0.5, 0.0, {.561270, .518895, .844987}}, // weights .0625, .125 and .5
        {0.0, 1.0, 0.5, {.475556, .647577, .844987}}, // .844987 = (.689974 + 1) / 2, then (.450166 + that) / 2 ...
        {0.5, 1.0, 0.5, {.237778, .823788, .922494}},
    };
    for (const auto &each : cases)
    {
        dataSettings settings = allPositions();
        settings.target = {each.wdlWeight, each.wdlDecay, each.tdLambda, 250};
        const std::vector<trainingPosition> positions = read(settings);
        ASSERT_EQ(positions.size(), 6U);
        for (std::size_t i = 0; i < positions.size(); ++i)
        {
            EXPECT_NEAR(positions[i].target / fullTarget, each.targets[i % 3], 0.00002) << i;
            EXPECT_EQ(positions[i].sideToMove == white, (i % 3 == 0) == (i < 3)) << i;
        }
    }
}

TEST_F(trainingDataTest, passesTakeDifferentPartsOfEachGame)
{
    const char *const dance[] = {"e1d1", "e8d8", "d1e1", "d8e8"};
    constexpr int plies = 30;
    std::vector<scoredMove> moves;
    for (int ply = 0; ply < plies; ++ply)
        moves.push_back({dance[ply % 4], 10 * ply});
    const storedGame game = makeGame("4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1", moves, 1);
    write({game, game});
    dataSettings settings = allPositions();
    settings.gameShare = 0.333;
    const auto targetsOf = [&](const passNumber &pass)
    {
        std::vector<int> targets;
        for (const trainingPosition &position : read(settings, pass))
            targets.push_back(position.target);
        return targets;
    };
    std::multiset<int> seen;
    std::vector<std::vector<int>> passes;
    for (std::uint64_t pass = 0; pass < 3; ++pass)
    {
        passes.push_back(targetsOf({7, pass}));
        EXPECT_EQ(passes.back().size(), 2U * plies / 3);
        seen.insert(passes.back().begin(), passes.back().end());
    }
    for (const int target : seen)
        EXPECT_EQ(seen.count(target), 2U) << "each position of both games once";
    EXPECT_EQ(targetsOf({7, 1}), passes[1]) << "a resumed run reads the same";
    EXPECT_NE(targetsOf({8, 1}), passes[1]) << "another seed";
    EXPECT_FALSE(std::equal(passes[0].begin(), passes[0].begin() + plies / 3, passes[0].begin() + plies / 3))
        << "equal games are sampled apart";
}

} // namespace
} // namespace tarvonel
