#include "trainerModel.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstring>
#include <filesystem>
#include <fstream>

#include "eval/networkWriter.h"

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

template <typename Number> Number rounded(double value, double low, double high)
{
    return static_cast<Number>(std::lround(std::clamp(value, low, high)));
}

/// A hidden bias carries half a step more, as the engine's shift rounds towards minus infinity.
std::int32_t hiddenBias(float bias)
{
    constexpr double halfStep = weightScale / 2;
    return rounded<std::int32_t>(bias * rawPerOutput + halfStep, -1e9, 1e9);
}

std::int16_t denseWeight(float weight)
{
    constexpr double largest = 127; // of a signed byte, the same for both signs
    return rounded<std::int16_t>(weight * weightScale, -largest, largest);
}

/// Transposed: the engine has a row for each output.
template <std::size_t Inputs> void quantiseLayer(const learntArray &weights, const learntArray &biases,
                                                 std::int16_t (&rows)[hiddenWidth][Inputs],
                                                 std::int32_t (&sums)[hiddenWidth])
{
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        sums[o] = hiddenBias(biases.weights[o]);
        for (std::size_t i = 0; i < Inputs; ++i)
        {
            rows[o][i] = denseWeight(weights.weights[i * hiddenWidth + o]);
        }
    }
}

void quantiseRow(const float *row, std::int16_t *lanes)
{
    for (int i = 0; i < transformerWidth; ++i)
    {
        lanes[i] = rounded<std::int16_t>(row[i] * activationScale, -32767, 32767);
    }
}

/// Writes to a neighbour first, so that a cut never leaves half a file under the name.
template <typename Writer> std::string writeWhole(const std::string &path, const Writer &write)
{
    if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path))
    {
        return path + " is no regular file";
    }
    const std::string draft = path + ".part";
    {
        std::ofstream stream(draft, std::ios::binary);
        write(stream);
        if (!stream.flush())
        {
            return "cannot write " + draft;
        }
    }
    return std::rename(draft.c_str(), path.c_str()) == 0 ? "" : "cannot rename " + draft + " to " + path;
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

float modelOutput(const trainerModel &model, const trainingPosition &position)
{
    featureList list;
    listFeatures(position, list);
    float input[networkInputs];
    std::vector<float> row(transformerWidth);
    for (const int half : {0, 1})
    {
        std::vector<float> sum = model.featureBias.weights;
        for (int i = 0; i < list.count; ++i)
        {
            sumFeatureRow(model, list.features[half][i], row.data());
            addRow(sum.data(), row.data());
        }
        clampRow(input + half * transformerWidth, sum.data());
    }
    float sums[hiddenWidth];
    float hidden1[hiddenWidth];
    float hidden2[hiddenWidth];
    forwardLayer(sums, input, model.hidden1Weight.weights.data(), model.hidden1Bias.weights.data(), networkInputs);
    clampHidden(hidden1, sums);
    forwardLayer(sums, hidden1, model.hidden2Weight.weights.data(), model.hidden2Bias.weights.data(), hiddenWidth);
    clampHidden(hidden2, sums);
    float output = model.outputBias.weights[0];
    for (int o = 0; o < hiddenWidth; ++o)
    {
        output += hidden2[o] * model.outputWeight.weights[static_cast<std::size_t>(o)];
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

void quantiseModel(const trainerModel &model, networkWeights &weights)
{
    quantiseRow(model.featureBias.weights.data(), weights.featureBias);
    float row[transformerWidth];
    for (int feature = 0; feature < featureCount; ++feature)
    {
        sumFeatureRow(model, feature, row);
        quantiseRow(row, weights.featureWeight[feature]);
    }
    quantiseLayer(model.hidden1Weight, model.hidden1Bias, weights.hidden1Weight, weights.hidden1Bias);
    quantiseLayer(model.hidden2Weight, model.hidden2Bias, weights.hidden2Weight, weights.hidden2Bias);
    for (std::size_t o = 0; o < hiddenWidth; ++o)
    {
        weights.outputWeight[o] = denseWeight(model.outputWeight.weights[o]);
    }
    weights.outputBias = rounded<std::int32_t>(model.outputBias.weights[0] * rawPerOutput, -1e9, 1e9);
}

namespace
{

/// Puts the values of a row, lane by lane, into another order.
void orderRow(std::int16_t *row, const std::vector<int> &lanes)
{
    std::int16_t ordered[transformerWidth];
    for (int i = 0; i < transformerWidth; ++i)
    {
        ordered[i] = row[lanes[static_cast<std::size_t>(i)]];
    }
    std::copy_n(ordered, transformerWidth, row);
}

/// Lane i becomes what lane lanes[i] was; the network stays the same function.
void orderLanes(networkWeights &weights, const std::vector<int> &lanes)
{
    orderRow(weights.featureBias, lanes);
    for (auto &row : weights.featureWeight)
    {
        orderRow(row, lanes);
    }
    for (auto &row : weights.hidden1Weight)
    {
        orderRow(row, lanes);
        orderRow(row + transformerWidth, lanes);
    }
}

} // namespace

std::string writeNetwork(const trainerModel &model, const std::vector<int> &lanes, const std::string &path,
                         const std::string &description)
{
    const auto weights = std::make_unique<networkWeights>();
    quantiseModel(model, *weights);
    orderLanes(*weights, lanes);
    return writeWhole(path, [&](std::ostream &stream) { writeNet(stream, *weights, description); });
}

std::string saveCheckpoint(trainerModel &model, const checkpointProgress &progress, const std::string &path)
{
    return writeWhole(path,
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
    char mark[sizeof checkpointMark] = {};
    std::uint32_t length = 0;
    stream.read(mark, sizeof mark);
    getNumber(stream, length);
    if (!stream || std::memcmp(mark, checkpointMark, sizeof mark) != 0 || length > longestText)
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
