// From game files to training positions, and passes over them.

#include <algorithm>
#include <climits>
#include <filesystem>
#include <numeric>
#include <set>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/makeMove.h"
#include "board/setup.h"
#include "learning/trainingRun.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"
#include "uci/randomOpening.h"

namespace tarvonel
{
namespace
{

constexpr int neverValidating = 1'000'000'007;
constexpr const char *bareKingsAndPawns = "4k3/pppp4/8/8/8/8/PPPP4/4K3 w - - 0 1";

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
        threadPool pool(1);
        openData(data, {path}, settings, 1'000'000, pool);
        std::vector<std::uint32_t> chunks(data.chunks.size());
        std::iota(chunks.begin(), chunks.end(), 0U);
        std::vector<trainingPosition> positions;
        readChunks(positions, data, chunks, settings, pass, pool);
        EXPECT_EQ(positions.size(), data.passPositions);
        closeData(data);
        return positions;
    }

    static dataSettings allPositions()
    {
        dataSettings settings;
        settings.filter.firstPly = 0;
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
    std::vector<storedGame> games = {makeGame(startPositionFen, whiteFirst, 0),
                                     makeGame("4k3/pppp4/8/8/8/8/PPPP4/4K3 b - - 0 1", blackFirst, 2)};
    games[1].earlierPlies = 1;
    write(games);
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
    dataSettings settings = allPositions();
    settings.filter.firstPly = 2;
    EXPECT_EQ(read(settings).size(), 3U) << "ply 3 of the first game, plies 2 and 4 of the second";
}

// Chunks are read again from the beginning after a pass to the end of a file that no buffer holds.
TEST_F(trainingDataTest, filesLargerThanABufferAreReadAgain)
{
    const storedGame game = makeGame(bareKingsAndPawns, {{"a2a3", 1}, {"a7a6", 2}}, 1);
    storedGame illegal = game;
    illegal.moves.assign(longestStoredGame, {});
    std::vector<storedGame> games(1000, illegal); // 4 MB
    games.front() = games[500] = games.back() = game;
    write(games);
    EXPECT_EQ(read(allPositions()).size(), 6U);
}

TEST_F(trainingDataTest, passesTakeDifferentPartsOfEachGame)
{
    const char *const dance[] = {"e1d1", "e8d8", "d1e1", "d8e8"};
    constexpr int plies = 30;
    std::vector<scoredMove> moves;
    for (int ply = 0; ply < plies; ++ply)
        moves.push_back({dance[ply % 4], 10 * ply});
    const storedGame game = makeGame(bareKingsAndPawns, moves, 1);
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

/// Game files and a plan that puts two of them at a time into memory.
class trainingRunTest : public trainingDataTest
{
  protected:
    void SetUp() override
    {
        plan.data = allPositions();
        plan.data.gameShare = 0.5;
        plan.batch = 32;
        plan.block = 200;
        plan.checkpoint = directory / "checkpoint";
        randomSource random(5);
        for (int file = 0; file < 4; ++file)
        {
            path = plan.files.emplace_back(directory / std::to_string(file));
            std::vector<storedGame> games;
            for (int game = 0; game < 5; ++game)
                games.push_back(randomGame(random));
            write(games);
        }
    }

    static storedGame randomGame(randomSource &random)
    {
        constexpr std::size_t plies = 40;
        const auto board = std::make_unique<posWithMoves>();
        EXPECT_GE(drawOpening(*board, {4, 0, {}}, random), 0);
        storedGame game;
        game.start = packStart(board->position);
        for (std::vector<moveCode> moves; game.moves.size() < plies && !(moves = legalMoves(*board)).empty();)
        {
            const moveCode move = randomMove(moves, random);
            game.moves.push_back({packMove(move), static_cast<std::int16_t>(random() % 600)});
            playGameMove(board->position, move);
        }
        return game;
    }

    /// Runs from the checkpoint, or from the beginning, for at most this many batches.
    void runBatches(trainingRun &run, int batches)
    {
        run.progress = {0, 0, plan.seed};
        if (isCheckpoint(plan.checkpoint))
            run.progress = loadCheckpoint(run.model, plan.checkpoint);
        else
            initialiseModel(run.model, makeLevels("base"), plan.seed);
        openData(run.data, plan.files, plan.data, 1'000'000, run.pool);
        EXPECT_GT(run.data.passPositions, plan.block);
        while (run.progress.epoch < plan.epochs && trainEpoch(run, [&](const batchReport &) { return --batches > 0; }))
        {
        }
        closeData(run.data);
    }

    trainingPlan plan;
};

TEST_F(trainingRunTest, interruptedRunsEndLikeUninterruptedOnes)
{
    trainingRun whole(plan);
    runBatches(whole, INT_MAX);
    EXPECT_GT(whole.model.steps, 12U);
    for (int part = 0; part < 100; ++part)
    {
        trainingRun run(plan);
        runBatches(run, 5);
        if (run.progress.epoch == plan.epochs)
        {
            EXPECT_EQ(run.model.steps, whole.model.steps);
            EXPECT_TRUE(run.model.hidden1Weight.weights == whole.model.hidden1Weight.weights);
            EXPECT_TRUE(run.model.levelRows[0].weights == whole.model.levelRows[0].weights);
            return;
        }
        EXPECT_EQ(run.model.steps, 5U * (static_cast<unsigned>(part) + 1));
        saveCheckpoint(run.model, run.progress, plan.checkpoint);
    }
    ADD_FAILURE() << "the run never ends";
}

TEST_F(trainingRunTest, positionsWithCastlingRightsAreNotMirrored)
{
    plan.data.gameShare = 1;
    plan.block = 1;
    const auto trainedWeights = [&](double mirrorShare)
    {
        plan.mirrorShare = mirrorShare;
        trainingRun run(plan);
        runBatches(run, INT_MAX);
        return run.model.levelRows[0].weights;
    };
    for (const bool canCastle : {true, false})
    {
        path = directory / (canCastle ? "castling" : "none");
        plan.files = {path};
        write({makeGame(canCastle ? startPositionFen : bareKingsAndPawns, {{"a2a3", 100}, {"a7a6", 100}, {"b2b3", 100}},
                        2)});
        EXPECT_EQ(trainedWeights(0) == trainedWeights(1), canCastle);
    }
}

TEST_F(trainingRunTest, filesThatShrinkEndTheRunWithAnError)
{
    trainingRun run(plan);
    const auto shrink = [&](const batchReport &)
    {
        for (const std::string &file : plan.files)
            std::filesystem::resize_file(file, 100);
        return true;
    };
    initialiseModel(run.model, makeLevels("base"), 1);
    openData(run.data, plan.files, plan.data, 1'000'000, run.pool);
    EXPECT_THROW(trainEpoch(run, shrink), gameFileChanged);
    EXPECT_GT(run.progress.positions, 0U);
    closeData(run.data);
}

} // namespace
} // namespace tarvonel
