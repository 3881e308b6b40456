#include "learning/trainerModel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "wholeFile.h"

namespace tarvonel
{

namespace
{

constexpr char checkpointMark[8] = {'T', 'V', 'T', 'R', 'A', 'I', 'N', '1'};
constexpr std::uint32_t longestText = 1024;

void fillRandom(std::vector<float> &weights, double deviation, double mean, std::mt19937_64 &random)
{
    std::normal_distribution<double> normal(mean, deviation);
    for (float &weight : weights)
    {
        weight = static_cast<float>(normal(random));
    }
}

template <typename Number> void putNumber(std::ostream &stream, Number value)
{
    unsigned char bytes[sizeof(Number)];
    for (std::size_t i = 0; i < sizeof(Number); ++i)
    {
        bytes[i] = static_cast<unsigned char>(static_cast<std::uint64_t>(value) >> (8 * i));
    }
    stream.write(reinterpret_cast<const char *>(bytes), sizeof bytes);
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
    {
        names += (names.empty() ? "" : ",") + level.name;
    }
    return names;
}

void sizeModel(trainerModel &model, const std::vector<featureLevel> &levels)
{
    model.levels = levels;
    model.levelRows.assign(levels.size(), {});
    for (std::size_t i = 0; i < levels.size(); ++i)
    {
        model.levelRows[i].resize(static_cast<std::size_t>(levels[i].rows) * transformerWidth);
    }
    model.featureBias.resize(transformerWidth);
    model.hidden1Weight.resize(networkInputs * hiddenWidth);
    model.hidden1Bias.resize(hiddenWidth);
    model.hidden2Weight.resize(hiddenWidth * hiddenWidth);
    model.hidden2Bias.resize(hiddenWidth);
    model.outputWeight.resize(hiddenWidth);
    model.outputBias.resize(1);
}

void transferFloats(std::ostream &stream, std::vector<float> &values)
{
    stream.write(reinterpret_cast<const char *>(values.data()),
                 static_cast<std::streamsize>(values.size() * sizeof(float)));
}
void transferFloats(std::istream &stream, std::vector<float> &values)
{
    stream.read(reinterpret_cast<char *>(values.data()), static_cast<std::streamsize>(values.size() * sizeof(float)));
}

template <typename Stream> void transferArrays(Stream &stream, trainerModel &model)
{
    for (learntArray *array : arraysOf(model))
    {
        transferFloats(stream, array->weights);
        transferFloats(stream, array->means);
        transferFloats(stream, array->squares);
    }
}

} // namespace

void learntArray::resize(std::size_t count)
{
    weights.assign(count, 0.0F);
    means.assign(count, 0.0F);
    squares.assign(count, 0.0F);
}

std::vector<learntArray *> arraysOf(trainerModel &model)
{
    std::vector<learntArray *> arrays;
    for (learntArray &rows : model.levelRows)
    {
        arrays.push_back(&rows);
    }
    for (learntArray *array : {&model.featureBias, &model.hidden1Weight, &model.hidden1Bias, &model.hidden2Weight,
                               &model.hidden2Bias, &model.outputWeight, &model.outputBias})
    {
        arrays.push_back(array);
    }
    return arrays;
}

void initialiseModel(trainerModel &model, const std::vector<featureLevel> &levels, std::uint64_t seed)
{
    // So that about half of the first layer is alive and its sums vary by a fraction of the clamp's
    // range with some twenty men on the board.
    constexpr double rowDeviation = 0.06;
    constexpr double aliveBias = 0.25;
    std::mt19937_64 random(seed);
    sizeModel(model, levels);
    model.steps = 0;
    fillRandom(model.levelRows[0].weights, rowDeviation, 0, random);
    fillRandom(model.featureBias.weights, 0.02, aliveBias, random);
    fillRandom(model.hidden1Weight.weights, std::sqrt(2.0 / networkInputs), 0, random);
    fillRandom(model.hidden1Bias.weights, 0.02, aliveBias, random);
    fillRandom(model.hidden2Weight.weights, std::sqrt(2.0 / hiddenWidth), 0, random);
    fillRandom(model.hidden2Bias.weights, 0.02, aliveBias, random);
    fillRandom(model.outputWeight.weights, std::sqrt(1.0 / hiddenWidth), 0, random);
}

void sumFeatureRow(const trainerModel &model, int feature, float *row)
{
    std::fill_n(row, transformerWidth, 0.0F);
    for (std::size_t i = 0; i < model.levels.size(); ++i)
    {
        const std::size_t index = model.levels[i].rowOf[static_cast<std::size_t>(feature)];
        addRow(row, model.levelRows[i].weights.data() + index * transformerWidth);
    }
}

roundedWeights roundDense(const trainerModel &model)
{
    roundedWeights rounded{model.hidden1Weight.weights, model.hidden2Weight.weights, model.outputWeight.weights};
    for (std::vector<float> *weights : {&rounded.hidden1, &rounded.hidden2, &rounded.output})
    {
        roundValues(weights->data(), static_cast<int>(weights->size()), weightScale);
    }
    return rounded;
}

void roundFeatureRow(const trainerModel &model, int feature, float *row)
{
    sumFeatureRow(model, feature, row);
    roundValues(row, transformerWidth, activationScale);
}

float modelOutput(const trainerModel &model, const trainingPosition &position)
{
    const roundedWeights dense = roundDense(model);
    featureList list;
    listFeatures(position, list);
    float input[networkInputs];
    std::vector<float> row(transformerWidth);
    for (const int half : {0, 1})
    {
        std::vector<float> sum = model.featureBias.weights;
        for (int i = 0; i < list.count; ++i)
        {
            roundFeatureRow(model, list.features[half][i], row.data());
            addRow(sum.data(), row.data());
        }
        clampRow(input + half * transformerWidth, sum.data());
    }
    float sums[hiddenWidth];
    float hidden1[hiddenWidth];
    float hidden2[hiddenWidth];
    forwardLayer(sums, input, dense.hidden1.data(), model.hidden1Bias.weights.data(), networkInputs);
    clampHidden(hidden1, sums);
    forwardLayer(sums, hidden1, dense.hidden2.data(), model.hidden2Bias.weights.data(), hiddenWidth);
    clampHidden(hidden2, sums);
    float output = model.outputBias.weights[0];
    for (int o = 0; o < hiddenWidth; ++o)
    {
        output += hidden2[o] * dense.output[static_cast<std::size_t>(o)];
    }
    return output;
}

std::string takeWeights(trainerModel &model, const trainerModel &other)
{
    for (std::size_t i = 0; i < model.levels.size(); ++i)
    {
        std::fill(model.levelRows[i].weights.begin(), model.levelRows[i].weights.end(), 0.0F);
    }
    for (std::size_t i = 0; i < other.levels.size(); ++i)
    {
        const auto own = std::find_if(model.levels.begin(), model.levels.end(),
                                      [&](const featureLevel &level) { return level.name == other.levels[i].name; });
        if (own == model.levels.end())
        {
            return "the checkpoint's rows of level " + other.levels[i].name + " have no place";
        }
        model.levelRows[static_cast<std::size_t>(own - model.levels.begin())].weights = other.levelRows[i].weights;
    }
    model.featureBias.weights = other.featureBias.weights;
    model.hidden1Weight.weights = other.hidden1Weight.weights;
    model.hidden1Bias.weights = other.hidden1Bias.weights;
    model.hidden2Weight.weights = other.hidden2Weight.weights;
    model.hidden2Bias.weights = other.hidden2Bias.weights;
    model.outputWeight.weights = other.outputWeight.weights;
    model.outputBias.weights = other.outputBias.weights;
    return {};
}

std::string saveCheckpoint(trainerModel &model, const checkpointProgress &progress, const std::string &path)
{
    return writeWholeFile(path,
                          [&](std::ostream &stream)
                          {
                              const std::string names = joinNames(model.levels);
                              stream.write(checkpointMark, sizeof checkpointMark);
                              putNumber(stream, static_cast<std::uint32_t>(names.size()));
                              stream << names;
                              putNumber(stream, progress.epoch);
                              putNumber(stream, progress.seed);
                              putNumber(stream, model.steps);
                              transferArrays(stream, model);
                          });
}

bool isCheckpoint(const std::string &path)
{
    std::ifstream stream(path, std::ios::binary);
    return readMark(stream);
}

std::string loadCheckpoint(trainerModel &model, checkpointProgress &progress, const std::string &path)
{
    const auto getNumber = [](std::istream &stream, auto &value)
    {
        unsigned char bytes[sizeof value] = {};
        stream.read(reinterpret_cast<char *>(bytes), sizeof bytes);
        value = 0;
        for (std::size_t i = 0; i < sizeof bytes; ++i)
        {
            value |= static_cast<std::remove_reference_t<decltype(value)>>(bytes[i]) << (8 * i);
        }
    };
    std::ifstream stream(path, std::ios::binary);
    std::uint32_t length = 0;
    const bool isMarked = readMark(stream);
    getNumber(stream, length);
    if (!stream || !isMarked || length > longestText)
    {
        return path + " is no checkpoint";
    }
    std::string names(length, ' ');
    stream.read(names.data(), length);
    std::string error;
    const std::vector<featureLevel> levels = makeLevels(names, error);
    if (!error.empty())
    {
        return path + ": " + error;
    }
    sizeModel(model, levels);
    getNumber(stream, progress.epoch);
    getNumber(stream, progress.seed);
    getNumber(stream, model.steps);
    transferArrays(stream, model);
    return stream ? "" : path + " is cut off";
}

} // namespace tarvonel
