#include "learning/trainerModel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <random>
#include <stdexcept>
#include <type_traits>

#include "atomicFile.h"
#include "platform/littleEndian.h"

namespace tarvonel
{

namespace
{

constexpr char checkpointMark[8] = {'T', 'V', 'T', 'R', 'A', 'I', 'N', '2'};
constexpr std::uint32_t maxNamesLength = 1024;

void fillRandom(lineVector<float> &weights, double deviation, double mean, std::mt19937_64 &random)
{
    std::normal_distribution<double> normal(mean, deviation);
    for (float &weight : weights)
        weight = static_cast<float>(normal(random));
}

/// Weights that leave an output's sum near its bias: scaled by the number of inputs, and with mean 0 per
/// output, as the inputs are never negative.
void fillLayer(lineVector<float> &weights, std::mt19937_64 &random)
{
    const std::size_t inputs = weights.size() / hiddenWidth;
    fillRandom(weights, std::sqrt(1.0 / (3.0 * static_cast<double>(inputs))), 0, random);
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        double sum = 0;
        for (std::size_t i = 0; i < inputs; ++i)
            sum += weights[i * hiddenWidth + o];
        for (std::size_t i = 0; i < inputs; ++i)
            weights[i * hiddenWidth + o] -= static_cast<float>(sum / static_cast<double>(inputs));
    }
}

bool readMark(std::istream &stream)
{
    char mark[sizeof checkpointMark] = {};
    stream.read(mark, sizeof mark);
    return stream && std::memcmp(mark, checkpointMark, sizeof mark) == 0;
}

std::string joinNames(const std::vector<featureLevel> &levels)
{
    std::string names;
    for (const featureLevel &level : levels)
        names += (names.empty() ? "" : ",") + level.name;
    return names;
}

void sizeModel(trainerModel &model, const std::vector<featureLevel> &levels)
{
    model.levels = levels;
    model.classes = classifyFeatures(levels);
    model.levelRows.assign(levels.size(), {});
    for (std::size_t i = 0; i < levels.size(); ++i)
        model.levelRows[i].resize(static_cast<std::size_t>(levels[i].rows), transformerWidth);
    model.featureBias.resize(1, transformerWidth);
    model.hidden1Weight.resize(1, networkInputs * hiddenWidth);
    model.hidden1Bias.resize(1, hiddenWidth);
    model.hidden2Weight.resize(1, hiddenWidth * hiddenWidth);
    model.hidden2Bias.resize(1, hiddenWidth);
    model.outputWeight.resize(1, hiddenWidth);
    model.outputBias.resize(1, 1);
}

template <typename Numbers> void transferNumbers(std::ostream &stream, const Numbers &numbers)
{
    writeLittle(stream, numbers.data(), numbers.size());
}
template <typename Numbers> void transferNumbers(std::istream &stream, Numbers &numbers)
{
    readLittle(stream, numbers.data(), numbers.size());
}

template <typename Stream> void transferArrays(Stream &stream, trainerModel &model)
{
    for (parameterArray *array : arraysOf(model))
    {
        for (lineVector<float> *numbers : {&array->weights, &array->means, &array->squares, &array->averages})
            transferNumbers(stream, *numbers);
        transferNumbers(stream, array->steps);
    }
}

} // namespace

void parameterArray::resize(std::size_t rows, std::size_t width)
{
    for (lineVector<float> *numbers : {&weights, &means, &squares, &averages})
        numbers->assign(rows * width, 0.0F);
    steps.assign(rows, 0);
}

std::vector<parameterArray *> arraysOf(trainerModel &model)
{
    std::vector<parameterArray *> arrays;
    for (parameterArray &rows : model.levelRows)
        arrays.push_back(&rows);
    for (parameterArray *array : {&model.featureBias, &model.hidden1Weight, &model.hidden1Bias, &model.hidden2Weight,
                                  &model.hidden2Bias, &model.outputWeight, &model.outputBias})
        arrays.push_back(array);
    return arrays;
}

void initialiseModel(trainerModel &model, const std::vector<featureLevel> &levels, std::uint64_t seed)
{
    // With some twenty pieces on the board the first layer's sums vary by a fraction of the clamp's range,
    // around a value in its lower half: the fewer are nonzero, the faster the engine.
    constexpr double rowDeviation = 0.06;
    constexpr float firstBias = 0.25F;
    constexpr float hiddenBias = 0.5F;
    constexpr double outputDeviation = 0.1;
    std::mt19937_64 random(seed);
    sizeModel(model, levels);
    model.steps = 0;
    fillRandom(model.levelRows[0].weights, rowDeviation, 0, random);
    std::ranges::fill(model.featureBias.weights, firstBias);
    fillLayer(model.hidden1Weight.weights, random);
    std::ranges::fill(model.hidden1Bias.weights, hiddenBias);
    fillLayer(model.hidden2Weight.weights, random);
    std::ranges::fill(model.hidden2Bias.weights, hiddenBias);
    fillRandom(model.outputWeight.weights, outputDeviation, 0, random);
}

void sumFeatureRow(const trainerModel &model, std::size_t feature, float *row)
{
    std::fill_n(row, transformerWidth, 0.0F);
    for (std::size_t i = 0; i < model.levels.size(); ++i)
        addRow(row, model.levelRows[i].weights.data() + rowOffset(model.levels[i].rowOf[feature]));
}

void copyWeights(trainerModel &model, const trainerModel &other)
{
    for (std::size_t i = 0; i < model.levels.size(); ++i)
        std::fill(model.levelRows[i].weights.begin(), model.levelRows[i].weights.end(), 0.0F);
    for (std::size_t i = 0; i < other.levels.size(); ++i)
    {
        const auto own = std::find_if(model.levels.begin(), model.levels.end(),
                                      [&](const featureLevel &level) { return level.name == other.levels[i].name; });
        if (own == model.levels.end())
            throw std::runtime_error("the checkpoint has level " + other.levels[i].name + ", the new model does not");
        model.levelRows[static_cast<std::size_t>(own - model.levels.begin())].weights = other.levelRows[i].weights;
    }
    model.featureBias.weights = other.featureBias.weights;
    model.hidden1Weight.weights = other.hidden1Weight.weights;
    model.hidden1Bias.weights = other.hidden1Bias.weights;
    model.hidden2Weight.weights = other.hidden2Weight.weights;
    model.hidden2Bias.weights = other.hidden2Bias.weights;
    model.outputWeight.weights = other.outputWeight.weights;
    model.outputBias.weights = other.outputBias.weights;
}

trainerModel averagedModel(const trainerModel &model)
{
    trainerModel averaged = model;
    for (parameterArray *array : arraysOf(averaged))
        array->weights = array->averages;
    return averaged;
}

void saveCheckpoint(trainerModel &model, const checkpointProgress &progress, const std::string &path)
{
    replaceFile(path,
                [&](std::ostream &stream)
                {
                    const std::string names = joinNames(model.levels);
                    stream.write(checkpointMark, sizeof checkpointMark);
                    const auto length = static_cast<std::uint32_t>(names.size());
                    writeLittle(stream, &length, 1);
                    stream << names;
                    writeLittle(stream, &progress.epoch, 1);
                    writeLittle(stream, &progress.positions, 1);
                    writeLittle(stream, &progress.seed, 1);
                    writeLittle(stream, &model.steps, 1);
                    transferArrays(stream, model);
                });
}

bool isCheckpoint(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return readMark(stream);
}

checkpointProgress loadCheckpoint(trainerModel &model, const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    std::uint32_t length = 0;
    const bool isMarked = readMark(stream);
    readLittle(stream, &length, 1);
    if (!stream || !isMarked || length > maxNamesLength)
        throw std::runtime_error(path + " is not a checkpoint");
    std::string names(length, ' ');
    stream.read(names.data(), length);
    sizeModel(model, makeLevels(names));
    checkpointProgress progress;
    readLittle(stream, &progress.epoch, 1);
    readLittle(stream, &progress.positions, 1);
    readLittle(stream, &progress.seed, 1);
    readLittle(stream, &model.steps, 1);
    transferArrays(stream, model);
    if (!stream)
        throw std::runtime_error(path + " is cut off");
    return progress;
}

} // namespace tarvonel
