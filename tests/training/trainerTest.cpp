// The trainer's model: that it learns, shares rows, and equals the network that the engine computes.

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstring>
#include <filesystem>
#include <functional>
#include <memory>
#include <numeric>
#include <set>
#include <span>
#include <string>

#include <gtest/gtest.h>

#include "board/setup.h"
#include "eval/evaluate.h"
#include "eval/network.h"
#include "eval/networkFile.h"
#include "learning/laneOrder.h"
#include "learning/modelNetwork.h"
#include "learning/networkMean.h"
#include "learning/trainerStep.h"
#include "learning/validation.h"
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

/// Compares all rows and biases.
bool sameWeights(const networkWeights &a, const networkWeights &b)
{
    return std::memcmp(&a, &b, offsetof(networkWeights, outputBias) + sizeof a.outputBias) == 0;
}

std::unique_ptr<networkWeights> quantised(const trainerModel &model)
{
    auto weights = std::make_unique<networkWeights>();
    quantiseModel(model, *weights);
    return weights;
}

/// Activations of one layer: the engine's integers, and how far the trainer's are above them.
template <std::size_t Width> struct layerPair
{
    int engine[Width];
    double difference[Width];
};

/// Computes a layer in integers and returns the largest error that rounding makes in this layer alone.
template <std::size_t Inputs>
double roundingError(const std::int16_t (&rows)[hiddenWidth][Inputs], const std::int32_t (&biases)[hiddenWidth],
                     const layerPair<Inputs> &input, const float *trainer, layerPair<hiddenWidth> &output)
{
    double worst = 0;
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        int sum = biases[o];
        double inherited = 0;
        for (std::size_t i = 0; i < Inputs; ++i)
        {
            sum += rows[o][i] * input.engine[i];
            inherited += rows[o][i] * input.difference[i] / weightScale;
        }
        output.engine[o] = std::clamp(sum >> simd::hiddenShift, 0, activationScale);
        output.difference[o] = double{trainer[o]} * activationScale - output.engine[o];
        if (output.engine[o] > 0 && output.engine[o] < activationScale && trainer[o] > 0 && trainer[o] < 1)
            worst = std::max(worst, std::abs(output.difference[o] - inherited));
    }
    return worst;
}

/// A model after a short training, made once for all tests.
class trainerTest : public testing::Test
{
  protected:
    static constexpr std::size_t batchSize = 64;

    static void SetUpTestSuite()
    {
        training = scoredPositions(6000, 3);
        validation = scoredPositions(1000, 4);
        model = std::make_unique<trainerModel>();
        initialiseModel(*model, makeLevels("base,region"), 1);
        threadPool pool(2);
        before = validateModel(*model, pool, validation, settings);
        const workspacePointer workspace = makeWorkspace();
        for (int epoch = 0; epoch < 5; ++epoch)
            for (std::size_t first = 0; first + batchSize <= training.size(); first += batchSize)
            {
                settings.learningRate = std::min(0.001, 0.00001 * static_cast<double>(model->steps));
                trainBatch(*model, *workspace, pool, std::span(training).subspan(first, batchSize), settings);
            }
        after = validateModel(*model, pool, validation, settings);
    }
    static void TearDownTestSuite() { model.reset(); }

    static inline trainingSettings settings;
    static inline std::vector<trainingPosition> training, validation;
    static inline std::unique_ptr<trainerModel> model;
    static inline validationResult before, after;
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
    threadPool one(1);
    EXPECT_NEAR(validateModel(*model, one, validation, settings).error, after.error, 1e-9) << "by one thread";
}

// Large initial weights make half of the hidden values 0, and neurons die of it. How many die later depends on how
// a machine rounds: none or one here.
TEST_F(trainerTest, noNeuronDies)
{
    constexpr double nonzeroAtFirst = 0.95;
    constexpr int laterDeaths = 3;
    EXPECT_GT(std::min(before.layers[1].nonzero, before.layers[2].nonzero), nonzeroAtFirst) << healthText(before);
    for (const layerHealth &layer : after.layers)
        EXPECT_LE(layer.dead + layer.saturated, laterDeaths) << healthText(after);
    trainerModel broken = *model;
    broken.featureBias.weights[5] = -featureLimit;
    broken.hidden1Bias.weights[3] = featureLimit;
    threadPool pool(1);
    const validationResult result = validateModel(broken, pool, validation, settings);
    EXPECT_EQ(result.layers[0].dead, after.layers[0].dead + 1);
    EXPECT_EQ(result.layers[1].saturated, after.layers[1].saturated + 1);
    EXPECT_EQ(result.samples.size(), 2 * validation.size());
    for (const laneMask &sample : result.samples)
        ASSERT_EQ(sample[0] >> 5 & 1, 0) << "the dead lane";
}

TEST(laneOrder, putsLanesOfTheSameSamplesIntoOneChunk)
{
    const std::set<int> often = {2, 70, 130, 255}, seldom = {5, 64, 100, 191};
    const auto sampleOf = [](const std::set<int> &lanes)
    {
        std::vector<float> activations(transformerWidth);
        for (const int lane : lanes)
            activations[static_cast<std::size_t>(lane)] = 0.5F;
        return nonzeroLanes(activations.data());
    };
    const std::vector<laneMask> samples = {sampleOf(seldom), sampleOf(often), sampleOf(often)};
    const std::vector<int> lanes = chunkedLanes(samples);
    EXPECT_EQ(std::set<int>(lanes.begin(), lanes.begin() + 4), often);
    EXPECT_EQ(std::set<int>(lanes.begin() + 4, lanes.begin() + 8), seldom);
    EXPECT_EQ(std::set<int>(lanes.begin(), lanes.end()).size(), transformerWidth);
}

TEST_F(trainerTest, thePenaltyLowersTheShareOfNonzeroInputs)
{
    threadPool pool(2);
    const workspacePointer workspace = makeWorkspace();
    double shares[2] = {};
    for (const int penalised : {0, 1})
    {
        trainerModel copy = *model;
        trainingSettings own = settings;
        own.l1Penalty = 0.001 * penalised;
        for (std::size_t first = 0; first < 20 * batchSize; first += batchSize)
            trainBatch(copy, *workspace, pool, std::span(training).subspan(first, batchSize), own);
        shares[penalised] = validateModel(copy, pool, validation, own).layers[0].nonzero;
    }
    EXPECT_LT(shares[1], 0.9 * shares[0]);
}

// A row that is used in every other step gets twice the penalty each time.
TEST_F(trainerTest, theL2PenaltyOfARowDoesNotDependOnItsUse)
{
    constexpr double penalty = 0.001;
    const auto usesBefore = [](std::size_t row) { return row % 2 == 0 ? 99U : 49U; };
    threadPool pool(1);
    const workspacePointer workspace = makeWorkspace();
    trainerModel plain = *model;
    plain.steps = 99;
    std::vector<std::uint32_t> &uses = plain.levelRows[1].steps;
    for (std::size_t row = 0; row < uses.size(); ++row)
        uses[row] = usesBefore(row);
    trainerModel penalised = plain;
    trainingSettings own = settings;
    trainBatch(plain, *workspace, pool, std::span(training).first(batchSize), own);
    own.l2Penalty = penalty;
    trainBatch(penalised, *workspace, pool, std::span(training).first(batchSize), own);

    EXPECT_EQ(penalised.levelRows[0].weights, plain.levelRows[0].weights) << "the first level has no penalty";
    for (std::size_t row = 0; row < uses.size(); ++row)
    {
        const double slope = uses[row] == usesBefore(row) ? 0 : 2 * penalty * 100 / (usesBefore(row) + 1);
        for (std::size_t i = rowOffset(row); i < rowOffset(row + 1); ++i)
            ASSERT_NEAR(penalised.levelRows[1].means[i] - plain.levelRows[1].means[i],
                        (1 - meanDecay) * slope * model->levelRows[1].weights[i], 1e-7)
                << "row " << row;
    }
}

// The trainer does not round between layers. Apart from that, each layer rounds to the nearest step.
TEST_F(trainerTest, engineAndTrainerDifferByRoundingAlone)
{
    quantiseModel(*model, netWeights);
    arrangeWeights(netWeights);
    const roundedWeights rounded = roundWeights(*model);
    lineVector<std::int16_t> rows(rowOffset(model->classes.featureOf.size()));
    for (std::size_t each = 0; each < model->classes.featureOf.size(); ++each)
        roundClassRow(*model, each, rows.data() + rowOffset(each));
    double worst[3] = {};
    double squares = 0;
    constexpr int count = 3000;
    const auto compare = [&](pos &position)
    {
        const trainingPosition packed = packPosition(position, 0);
        classList list;
        passValues values;
        listClasses(packed, model->classes, list);
        passForward(rounded, list, rows.data(), values);
        layerPair<networkInputs> input{};
        for (std::size_t i = 0; i < networkInputs; ++i)
            input.engine[i] = static_cast<int>(std::lround(values.input[i] * activationScale));
        layerPair<hiddenWidth> hidden1;
        layerPair<hiddenWidth> hidden2;
        const double errors[] = {
            roundingError(netWeights.hidden1Weight, netWeights.hidden1Bias, input, values.hidden1, hidden1),
            roundingError(netWeights.hidden2Weight, netWeights.hidden2Bias, hidden1, values.hidden2, hidden2)};
        double output = netWeights.outputBias;
        double trainerOutput = values.output * rawPerOutput;
        for (std::size_t o = 0; o < hiddenWidth; ++o)
        {
            output += netWeights.outputWeight[o] * hidden2.engine[o];
            trainerOutput -= netWeights.outputWeight[o] * hidden2.difference[o];
        }
        position.accumulatorBlocks[0].computed = false;
        EXPECT_EQ(networkOutput(position, 0), output);
        worst[0] = std::max(worst[0], errors[0]);
        worst[1] = std::max(worst[1], errors[1]);
        worst[2] = std::max(worst[2], std::abs(trainerOutput - output));
        squares += output * output;
        EXPECT_NEAR(outputScale(packed) / rawPerOutput * output, networkScore(position, 0, packed.phase), 1);
    };
    visitRandomPositions(count, 99, compare);
    EXPECT_GT(std::sqrt(squares / count), 2000) << "the outputs say too little to compare them";
    for (const double error : worst)
        EXPECT_LT(error, 0.52);
    for (const int hidden : {0, 1})
        EXPECT_GT(worst[hidden], 0.4);
}

TEST_F(trainerTest, averagesBeginWithTheFirstWeights)
{
    constexpr int interval = 64;
    trainerModel young;
    initialiseModel(young, makeLevels("base"), 1);
    trainingSettings slow = settings;
    slow.averagedSteps = 1e9;
    threadPool pool(1);
    const workspacePointer workspace = makeWorkspace();
    lineVector<float> sums(young.hidden1Weight.weights.size());
    for (int step = 0; step <= interval; ++step)
    {
        trainBatch(young, *workspace, pool, std::span(training).subspan(step * batchSize, batchSize), slow);
        if (step % interval == 0)
            std::ranges::transform(sums, young.hidden1Weight.weights, sums.begin(), std::plus<>());
    }
    const trainerModel averaged = averagedModel(young);
    for (std::size_t i = 0; i < sums.size(); ++i)
        ASSERT_NEAR(averaged.hidden1Weight.weights[i], sums[i] / 2, 1e-6);
}

TEST_F(trainerTest, weightsStayWithinWhatTheFileHolds)
{
    const auto largest = [](const parameterArray &array)
    {
        const auto [low, high] = std::minmax_element(array.weights.begin(), array.weights.end());
        return std::max(-*low, *high);
    };
    trainerModel wild = *model;
    trainingSettings fast = settings;
    fast.learningRate = 1.0;
    threadPool pool(1);
    const workspacePointer workspace = makeWorkspace();
    for (int step = 0; step < 12; ++step)
        trainBatch(wild, *workspace, pool, std::span(training).first(batchSize), fast);
    for (const parameterArray *array : {&wild.hidden1Weight, &wild.hidden2Weight, &wild.outputWeight})
        EXPECT_LE(largest(*array), denseLimit);
    EXPECT_EQ(largest(wild.hidden1Weight), denseLimit) << "a learning rate that reaches the bound";
    for (std::size_t feature = 0; feature < featureCount; feature += 101)
    {
        float row[transformerWidth];
        sumFeatureRow(wild, feature, row);
        EXPECT_LE(std::abs(*std::max_element(row, row + transformerWidth)), featureLimit * 1.001F);
    }
}

TEST(stepWeights, areSmallForSmallGradients)
{
    constexpr int count = 64;
    lineVector<float> weights(count, 1e-12F), means(count), squares(count), gradient(count);
    for (int i = 0; i < count; ++i)
        gradient[i] = 1e-16F * std::pow(10.0F, static_cast<float>(-i % 8)); // their squares are denormal or 0
    stepWeights(weights.data(), means.data(), squares.data(), gradient.data(), 1, count,
                {.rate = 0.001F, .limit = featureLimit, .epsilon = 1e-8F});
    for (const float weight : weights)
        EXPECT_NEAR(weight, 0, 0.0011);

    float rare = 0, mean = 0, square = 0, small = 1e-5F; // far below the epsilon: a step in proportion to the mean
    stepWeights(&rare, &mean, &square, &small, 1, 1, {.rate = 1, .limit = featureLimit, .epsilon = 0.01F});
    EXPECT_NEAR(rare, -(1 - meanDecay) * small / 0.01F, 1e-6);
}

TEST_F(trainerTest, checkpointsHoldTheWholeState)
{
    const temporaryDirectory directory;
    const std::string path = directory / "checkpoint";
    saveCheckpoint(*model, {5, 6, 77}, path);
    trainerModel resumed;
    const checkpointProgress progress = loadCheckpoint(resumed, path);
    EXPECT_EQ(progress.epoch, 5U);
    EXPECT_EQ(progress.positions, 6U);
    EXPECT_EQ(progress.seed, 77U);
    EXPECT_TRUE(resumed.hidden1Weight.averages == model->hidden1Weight.averages);
    trainerModel kept = *model;
    threadPool pool(1);
    const workspacePointer workspace = makeWorkspace();
    for (trainerModel *each : {&kept, &resumed})
        trainBatch(*each, *workspace, pool, std::span(training).first(batchSize), settings);
    EXPECT_EQ(kept.hidden1Weight.weights, resumed.hidden1Weight.weights);
    EXPECT_EQ(kept.levelRows[1].weights, resumed.levelRows[1].weights);

    for (const std::uintmax_t size : {std::filesystem::file_size(path) - 1, std::uintmax_t{11}})
    {
        std::filesystem::resize_file(path, size);
        EXPECT_THROW(loadCheckpoint(resumed, path), std::runtime_error) << size;
    }
    std::filesystem::remove(path);
    EXPECT_THROW(loadCheckpoint(resumed, path), std::runtime_error);
}

TEST_F(trainerTest, importsNetworks)
{
    const auto meanSquare = [](const parameterArray &array)
    {
        return std::inner_product(array.weights.begin(), array.weights.end(), array.weights.begin(), 0.0) /
               static_cast<double>(array.weights.size());
    };
    trainerModel full;
    initialiseModel(full, makeLevels("base,region,free"), 1);
    threadPool pool(2);
    const workspacePointer workspace = makeWorkspace();
    for (std::size_t first = 0; first < 40 * batchSize; first += batchSize)
        trainBatch(full, *workspace, pool, std::span(training).subspan(first, batchSize), settings);
    auto written = quantised(full);
    trainerModel taken;
    initialiseModel(taken, full.levels, 1);
    EXPECT_NEAR(importNetwork(taken, *written), 1, 1e-6);
    EXPECT_LT(meanSquare(taken.levelRows[2]), meanSquare(taken.levelRows[0]) / 20) << "the free rows hold a correction";
    EXPECT_TRUE(sameWeights(*written, *quantised(taken)));

    // A network trained without free rows needs none, but it does need those of the regions.
    written = quantised(*model);
    initialiseModel(taken, makeLevels("base,region"), 1);
    EXPECT_GT(importNetwork(taken, *written), 0.999);
    const auto again = quantised(taken);
    int worst = 0;
    for (std::size_t feature = 0; feature < featureCount; ++feature)
        for (std::size_t lane = 0; lane < transformerWidth; ++lane)
            worst =
                std::max(worst, std::abs(written->featureWeight[feature][lane] - again->featureWeight[feature][lane]));
    EXPECT_LE(worst, 1);
    initialiseModel(taken, makeLevels("base"), 1);
    EXPECT_LT(importNetwork(taken, *written), 0.99);
}

TEST_F(trainerTest, meansPairTheLanesOfRelatives)
{
    const auto meanWith = [&](std::unique_ptr<networkWeights> other)
    {
        std::vector<std::unique_ptr<networkWeights>> networks;
        networks.push_back(quantised(*model));
        networks.push_back(std::move(other));
        return meanOfNetworks(std::move(networks));
    };
    const auto expected = quantised(*model);
    auto relative = quantised(*model);
    std::vector<int> lanes(accumulatorLanes);
    std::iota(lanes.rbegin(), lanes.rend(), 0);
    orderLanes(*relative, lanes);
    relative->featureWeight[1000][lanes[7]] += 6;
    relative->hidden1Weight[3][networkInputs / 2 + lanes[9]] -= 4;
    relative->outputBias += 2;
    // Halves go to the even neighbour: on average neither up nor down.
    for (int feature = 2000; feature < 2020; ++feature)
    {
        std::int16_t &weight = expected->featureWeight[feature][5];
        relative->featureWeight[feature][lanes[5]] += 1;
        weight = static_cast<std::int16_t>(weight + (weight & 1));
    }
    expected->featureWeight[1000][7] += 3;
    expected->hidden1Weight[3][networkInputs / 2 + 9] -= 2;
    expected->outputBias += 1;
    EXPECT_TRUE(sameWeights(*meanWith(std::move(relative)), *expected));

    trainerModel stranger;
    initialiseModel(stranger, model->levels, 2);
    EXPECT_THROW(meanWith(quantised(stranger)), std::runtime_error);
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

TEST(featureLevels, shareRows)
{
    const std::vector<featureLevel> levels = makeLevels("base,region,relative,mirror,free");
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
    EXPECT_EQ(rowOf(2, b2, whiteRook, d5), rowOf(2, g3, whiteRook, e6)) << "relative: mirrored";
    EXPECT_NE(rowOf(2, b2, whiteRook, d5), rowOf(2, b2, whiteRook, e5));
    EXPECT_EQ(rowOf(3, a1, whiteRook, h8), rowOf(3, h1, whiteRook, a8)) << "mirror";
    EXPECT_NE(rowOf(3, a1, whiteRook, h8), rowOf(3, b1, whiteRook, h8));
    EXPECT_NE(rowOf(4, a1, whiteRook, h8), rowOf(4, h1, whiteRook, a8)) << "free: its own";

    EXPECT_THROW(makeLevels("base,nonsense"), std::invalid_argument);
    EXPECT_THROW(makeLevels(""), std::invalid_argument);
}

} // namespace
} // namespace tarvonel
