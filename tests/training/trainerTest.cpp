// The trainer: what it learns, what it shares, and that the engine computes the same network.

#include <algorithm>
#include <cmath>
#include <filesystem>
#include <memory>
#include <numeric>
#include <set>
#include <span>
#include <sstream>
#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "eval/networkFile.h"
#include "eval/networkWriter.h"
#include "learning/modelNetwork.h"
#include "learning/networkMean.h"
#include "learning/trainerJudge.h"
#include "learning/trainerStep.h"
#include "support/randomGames.h"
#include "support/temporaryDirectory.h"
#include "uci/randomOpening.h"

namespace tarvonel
{
namespace
{

/// Ends of random games of all lengths, each a position of its own.
template <typename Visitor> void visitRandomPositions(std::size_t count, std::uint64_t seed, const Visitor &visit)
{
    constexpr std::uint64_t longest = 80;
    const variantScope variant{true};
    const auto board = std::make_unique<posWithMoves>();
    randomSource random(seed);
    while (count > 0)
    {
        if (drawOpening(*board, {static_cast<int>(random() % longest), 0.3, {}}, random) >= 0)
        {
            visit(board->position);
            --count;
        }
    }
}

/// Such positions with the hand-set evaluation as their score.
std::vector<trainingPosition> scoredPositions(std::size_t count, std::uint64_t seed)
{
    const auto tables = std::make_unique<evaluationTables>();
    std::vector<trainingPosition> positions;
    visitRandomPositions(count, seed,
                         [&](pos &position)
                         {
                             tables->attachTo(position);
                             const int forWhite = handSetScore(position);
                             const int score = position.sideToMove == white ? forWhite : -forWhite;
                             positions.push_back(
                                 packPosition(position, expectedResult(std::clamp(score, -1500, 1500), 250)));
                         });
    return positions;
}

std::vector<featureLevel> levelsOf(const std::string &names)
{
    std::string error;
    std::vector<featureLevel> levels = makeLevels(names, error);
    EXPECT_EQ(error, "");
    return levels;
}

/// A model after a short training, made once for all tests.
class trainerTest : public testing::Test
{
  protected:
    static constexpr std::size_t batchSize = 64;

    static void SetUpTestSuite()
    {
        training = scoredPositions(9000, 3);
        validation = scoredPositions(1500, 4);
        model = std::make_unique<trainerModel>();
        initialiseModel(*model, levelsOf("base,region,free"), 1);
        workCrew crew(2);
        before = judgeModel(*model, crew, validation, settings);
        const workspacePointer workspace = makeWorkspace();
        for (int epoch = 0; epoch < 5; ++epoch)
            for (std::size_t first = 0; first + batchSize <= training.size(); first += batchSize)
            {
                settings.rate = std::min(0.001, 0.00001 * static_cast<double>(model->steps));
                learnBatch(*model, *workspace, crew, std::span(training).subspan(first, batchSize), settings);
            }
        after = judgeModel(*model, crew, validation, settings);
    }
    static void TearDownTestSuite() { model.reset(); }

    static inline learningSettings settings;
    static inline std::vector<trainingPosition> training, validation;
    static inline std::unique_ptr<trainerModel> model;
    static inline judgement before, after;
};

TEST_F(trainerTest, aShortTrainingLowersTheValidationError)
{
    EXPECT_LT(after.error, before.error / 2) << "from " << before.error;
    double sum = 0;
    for (int group = 0; group < phaseGroups; ++group)
    {
        const auto isInGroup = [&](const trainingPosition &position)
        { return std::min(position.phase / phasesPerGroup, phaseGroups - 1) == group; };
        const auto positions = static_cast<std::size_t>(std::ranges::count_if(validation, isInGroup));
        EXPECT_EQ(after.byPhase[group].positions, positions);
        sum += after.byPhase[group].error * static_cast<double>(positions);
    }
    EXPECT_NEAR(sum, after.error * static_cast<double>(validation.size()), 1e-6);
}

// Large first weights leave half of the hidden values alive, and neurons die of it. How many die later hangs on how
// a machine rounds: none or one here.
TEST_F(trainerTest, noNeuronDies)
{
    constexpr double aliveAtFirst = 0.95;
    constexpr int laterDeaths = 3;
    EXPECT_GT(std::min(before.layers[1].alive, before.layers[2].alive), aliveAtFirst) << healthText(before);
    for (const layerHealth &layer : after.layers)
        EXPECT_LE(layer.dead + layer.saturated, laterDeaths) << healthText(after);
    trainerModel broken = *model;
    broken.featureBias.weights[5] = -featureLimit;
    broken.hidden1Bias.weights[3] = featureLimit;
    workCrew crew(1);
    const judgement judged = judgeModel(broken, crew, validation, settings);
    EXPECT_EQ(judged.layers[0].dead, after.layers[0].dead + 1);
    EXPECT_EQ(judged.layers[1].saturated, after.layers[1].saturated + 1);
    EXPECT_EQ(judged.lanes.back(), 5) << "lanes by use";
}

TEST_F(trainerTest, engineAndTrainerAgreeOnTenThousandPositions)
{
    quantiseModel(*model, netWeights);
    arrangeWeights();
    const roundedWeights rounded = roundWeights(*model);
    lineVector<std::int16_t> rows(rowOffset(model->classes.featureOf.size()));
    for (std::size_t each = 0; each < model->classes.featureOf.size(); ++each)
        roundClassRow(*model, each, rows.data() + rowOffset(each));
    constexpr int count = 10000;
    double worst = 0, scoreSquares = 0, differenceSquares = 0;
    visitRandomPositions(count, 99,
                         [&](pos &position)
                         {
                             const trainingPosition packed = packPosition(position, 0);
                             classList list;
                             passValues values;
                             listClasses(packed, model->classes, list);
                             passForward(rounded, list, rows.data(), values);
                             position.accumulatorBlocks[0].computed = false;
                             const int score = networkScore(position, 0, std::clamp<int>(position.phase, 0, 24));
                             const double difference = values.output * outputScale(packed) - score;
                             worst = std::max(worst, std::abs(difference));
                             scoreSquares += score * score;
                             differenceSquares += difference * difference;
                         });
    RecordProperty("shareOfTheSquares", std::to_string(differenceSquares / scoreSquares));
    RecordProperty("worstDifference", std::to_string(worst));
    EXPECT_GT(scoreSquares / count, 100.0 * 100.0) << "the outputs say too little to compare them";
    EXPECT_LT(differenceSquares, scoreSquares / 20000);
    EXPECT_LT(worst, 15) << "centipawns";
}

TEST_F(trainerTest, weightsStayWithinWhatTheFileHolds)
{
    const auto largest = [](const learntArray &array)
    {
        const auto [low, high] = std::minmax_element(array.weights.begin(), array.weights.end());
        return std::max(-*low, *high);
    };
    trainerModel wild = *model;
    learningSettings fast = settings;
    fast.rate = 1.0;
    workCrew crew(1);
    const workspacePointer workspace = makeWorkspace();
    for (int step = 0; step < 12; ++step)
        learnBatch(wild, *workspace, crew, std::span(training).first(batchSize), fast);
    for (const learntArray *array : {&wild.hidden1Weight, &wild.hidden2Weight, &wild.outputWeight})
        EXPECT_LE(largest(*array), denseLimit);
    EXPECT_EQ(largest(wild.hidden1Weight), denseLimit) << "the rate is meant to reach the bound";
    for (std::size_t feature = 0; feature < featureCount; feature += 101)
    {
        float row[transformerWidth];
        sumFeatureRow(wild, feature, row);
        EXPECT_LE(std::abs(*std::max_element(row, row + transformerWidth)), featureLimit * 1.001F);
    }
}

TEST_F(trainerTest, checkpointsGoOnWhereTheyStopped)
{
    const temporaryDirectory directory;
    const std::string path = directory / "checkpoint";
    ASSERT_EQ(saveCheckpoint(*model, {5, 6, 77}, path), "");
    trainerModel resumed;
    checkpointProgress progress;
    ASSERT_EQ(loadCheckpoint(resumed, progress, path), "");
    EXPECT_EQ(progress.epoch, 5U);
    EXPECT_EQ(progress.positions, 6U);
    EXPECT_EQ(progress.seed, 77U);
    trainerModel kept = *model;
    workCrew crew(1);
    const workspacePointer workspace = makeWorkspace();
    for (trainerModel *each : {&kept, &resumed})
        learnBatch(*each, *workspace, crew, std::span(training).first(batchSize), settings);
    EXPECT_EQ(kept.hidden1Weight.weights, resumed.hidden1Weight.weights);
    EXPECT_EQ(kept.levelRows[2].weights, resumed.levelRows[2].weights);

    EXPECT_NE(saveCheckpoint(*model, {}, directory.path), "") << "a folder is not written over";
    for (const std::uintmax_t size : {std::filesystem::file_size(path) - 1, std::uintmax_t{11}})
    {
        std::filesystem::resize_file(path, size);
        EXPECT_NE(loadCheckpoint(resumed, progress, path), "") << size;
    }
    std::filesystem::remove(path);
    EXPECT_NE(loadCheckpoint(resumed, progress, path), "");
}

TEST_F(trainerTest, takesANetworkOver)
{
    const auto written = std::make_unique<networkWeights>();
    const auto again = std::make_unique<networkWeights>();
    const auto fileOf = [](const networkWeights &weights)
    {
        std::ostringstream stream;
        writeNet(stream, weights, "");
        return std::move(stream).str();
    };
    const auto meanSquare = [](const learntArray &array)
    {
        return std::inner_product(array.weights.begin(), array.weights.end(), array.weights.begin(), 0.0) /
               static_cast<double>(array.weights.size());
    };
    quantiseModel(*model, *written);
    trainerModel taken;
    initialiseModel(taken, model->levels, 1);
    EXPECT_NEAR(takeNetwork(taken, *written), 1, 1e-6);
    EXPECT_LT(meanSquare(taken.levelRows[2]), meanSquare(taken.levelRows[0]) / 20) << "the free rows hold a correction";
    quantiseModel(taken, *again);
    EXPECT_EQ(fileOf(*written), fileOf(*again));

    // Learnt without free rows, the network needs none, but it does need those of the regions.
    trainerModel plain = *model;
    std::ranges::fill(plain.levelRows[2].weights, 0.0F);
    quantiseModel(plain, *written);
    initialiseModel(taken, levelsOf("base,region"), 1);
    EXPECT_GT(takeNetwork(taken, *written), 0.999);
    quantiseModel(taken, *again);
    int worst = 0;
    for (std::size_t feature = 0; feature < featureCount; ++feature)
        for (std::size_t lane = 0; lane < transformerWidth; ++lane)
            worst =
                std::max(worst, std::abs(written->featureWeight[feature][lane] - again->featureWeight[feature][lane]));
    EXPECT_LE(worst, 1);
    initialiseModel(taken, levelsOf("base"), 1);
    EXPECT_LT(takeNetwork(taken, *written), 0.99);
}

TEST_F(trainerTest, meansPairTheLanesOfRelatives)
{
    const auto written = [](const trainerModel &of)
    {
        auto weights = std::make_unique<networkWeights>();
        quantiseModel(of, *weights);
        return weights;
    };
    const auto meanWith = [&](std::unique_ptr<networkWeights> other, std::string &error)
    {
        std::vector<std::unique_ptr<networkWeights>> networks;
        networks.push_back(written(*model));
        networks.push_back(std::move(other));
        return meanOfNetworks(std::move(networks), error);
    };
    const auto expected = written(*model);
    auto relative = written(*model);
    std::vector<int> lanes(accumulatorLanes);
    std::iota(lanes.rbegin(), lanes.rend(), 0);
    orderLanes(*relative, lanes);
    relative->featureWeight[1000][lanes[7]] += 6;
    relative->hidden1Weight[3][networkInputs / 2 + lanes[9]] -= 4;
    relative->outputBias += 2;
    expected->featureWeight[1000][7] += 3;
    expected->hidden1Weight[3][networkInputs / 2 + 9] -= 2;
    expected->outputBias += 1;
    std::string error;
    const auto mean = meanWith(std::move(relative), error);
    ASSERT_TRUE(mean) << error;
    std::ostringstream files[2];
    writeNet(files[0], *mean, "");
    writeNet(files[1], *expected, "");
    EXPECT_EQ(files[0].str(), files[1].str());

    trainerModel stranger;
    initialiseModel(stranger, model->levels, 2);
    EXPECT_FALSE(meanWith(written(stranger), error));
    EXPECT_EQ(error, "network 2 is no relative of the first");
}

TEST(trainingPositions, areShownMirrored)
{
    const auto board = std::make_unique<posWithMoves>();
    const auto featuresOf = [&](const char *fen, bool isMirrored)
    {
        EXPECT_EQ(setupPlayablePosition(fen, board->position), "");
        trainingPosition position = packPosition(board->position, 0);
        position.isMirrored = isMirrored ? 1 : 0;
        featureList list;
        listFeatures(position, list);
        std::multiset<int> features;
        for (const int half : {0, 1})
            for (int i = 0; i < list.count; ++i)
                features.insert(list.features[half][i] + half * featureCount);
        return features;
    };
    const char *fen = "6k1/5ppp/2n5/8/8/1B6/PP6/1K1R4 b - - 0 1";
    EXPECT_EQ(featuresOf(fen, true), featuresOf("1k6/ppp5/5n2/8/8/6B1/6PP/4R1K1 b - - 0 1", false));
    EXPECT_NE(featuresOf(fen, true), featuresOf(fen, false));
    EXPECT_EQ(setupPlayablePosition("r3k3/8/8/8/8/8/8/4K3 b q - 0 1", board->position), "");
    EXPECT_NE(packPosition(board->position, 0).hasCastling, 0);
}

TEST(featureLevels, shareRowsAsTheyPromise)
{
    const std::vector<featureLevel> levels = levelsOf("base,region,mirror,free");
    const auto rowOf = [&](std::size_t level, int king, int code, int square)
    { return levels[level].rowOf[static_cast<std::size_t>(featureIndex(white, king, code, square))]; };
    for (const featureLevel &level : levels)
    {
        const std::uint16_t highest = *std::max_element(level.rowOf.begin(), level.rowOf.end());
        EXPECT_EQ(highest, level.rows - 1) << level.name;
    }
    EXPECT_EQ(rowOf(0, a1, whiteRook, h8), rowOf(0, h7, whiteRook, h8)) << "base: the king does not matter";
    EXPECT_EQ(rowOf(1, a1, whiteRook, h8), rowOf(1, h1, whiteRook, a8)) << "region: mirrored";
    EXPECT_EQ(rowOf(1, a1, whiteRook, h8), rowOf(1, b1, whiteRook, h8)) << "region: neighbours";
    EXPECT_NE(rowOf(1, a1, whiteRook, h8), rowOf(1, d1, whiteRook, h8));
    EXPECT_EQ(rowOf(2, a1, whiteRook, h8), rowOf(2, h1, whiteRook, a8)) << "mirror";
    EXPECT_NE(rowOf(2, a1, whiteRook, h8), rowOf(2, b1, whiteRook, h8));
    EXPECT_NE(rowOf(3, a1, whiteRook, h8), rowOf(3, h1, whiteRook, a8)) << "free: its own";

    std::string error;
    EXPECT_TRUE(makeLevels("base,nonsense", error).empty());
    EXPECT_NE(error, "");
    EXPECT_TRUE(makeLevels("", error).empty());
    EXPECT_NE(error, "");
}

} // namespace
} // namespace tarvonel
