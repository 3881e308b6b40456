#include "learning/trainerStep.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <functional>
#include <numeric>

namespace tarvonel
{

namespace
{

constexpr float meanDecay = 0.9F;
constexpr float squareDecay = 0.999F;
constexpr std::size_t rowChunk = 32;
constexpr std::size_t positionChunk = 64;

std::size_t rowOffset(std::size_t row) { return row * transformerWidth; }

double sigmoid(double value) { return 1.0 / (1.0 + std::exp(-value)); }

/// Values of one position on its way through the network, and the gradients on the way back.
struct passValues
{
    float sums[networkInputs];
    float input[networkInputs];
    float hidden1[hiddenWidth];
    float hidden2[hiddenWidth];
    float output;
    float inputGradient[networkInputs];
    float hidden1Gradient[hiddenWidth];
    float hidden2Gradient[hiddenWidth];
};

/// Gradients of the dense weights, summed over the positions of one thread.
struct denseGradients
{
    std::vector<float> featureBias = std::vector<float>(transformerWidth);
    std::vector<float> hidden1Weight = std::vector<float>(networkInputs * hiddenWidth);
    std::vector<float> hidden1Bias = std::vector<float>(hiddenWidth);
    std::vector<float> hidden2Weight = std::vector<float>(hiddenWidth * hiddenWidth);
    std::vector<float> hidden2Bias = std::vector<float>(hiddenWidth);
    std::vector<float> outputWeight = std::vector<float>(hiddenWidth);
    std::vector<float> outputBias = std::vector<float>(1);
    double error = 0;

    std::vector<std::vector<float> *> arrays()
    {
        return {&featureBias, &hidden1Weight, &hidden1Bias, &hidden2Weight, &hidden2Bias, &outputWeight, &outputBias};
    }
};

/// Items in groups: those of group g are items[first[g]] to items[first[g + 1] - 1].
struct groupedItems
{
    std::vector<std::uint32_t> first;
    std::vector<std::uint32_t> items;
};

/// Sorts the indices of `groupOf` by their group (counting sort).
void groupItems(groupedItems &grouped, const std::vector<std::uint32_t> &groupOf, std::size_t groups)
{
    grouped.first.assign(groups + 1, 0);
    for (const std::uint32_t group : groupOf)
    {
        ++grouped.first[group + 1];
    }
    for (std::size_t group = 0; group < groups; ++group)
    {
        grouped.first[group + 1] += grouped.first[group];
    }
    grouped.items.resize(groupOf.size());
    std::vector<std::uint32_t> next(grouped.first.begin(), grouped.first.end() - 1);
    for (std::size_t i = 0; i < groupOf.size(); ++i)
    {
        grouped.items[next[groupOf[i]]++] = static_cast<std::uint32_t>(i);
    }
}

/// The network's pass for one position. `rows` holds the row of a feature at the place that
/// `placeOf` gives.
void passForward(const trainerModel &model, const roundedWeights &dense, const featureList &list, const float *rows,
                 const std::uint32_t *placeOf, passValues &values)
{
    for (const int half : {0, 1})
    {
        float *sum = values.sums + half * transformerWidth;
        std::copy_n(model.featureBias.weights.data(), transformerWidth, sum);
        for (int i = 0; i < list.count; ++i)
        {
            addRow(sum, rows + rowOffset(placeOf[list.features[half][i]]));
        }
        clampRow(values.input + half * transformerWidth, sum);
    }
    float sums[hiddenWidth];
    forwardLayer(sums, values.input, dense.hidden1.data(), model.hidden1Bias.weights.data(), networkInputs);
    clampHidden(values.hidden1, sums);
    forwardLayer(sums, values.hidden1, dense.hidden2.data(), model.hidden2Bias.weights.data(), hiddenWidth);
    clampHidden(values.hidden2, sums);
    values.output = model.outputBias.weights[0];
    for (int o = 0; o < hiddenWidth; ++o)
    {
        values.output += values.hidden2[o] * dense.output[static_cast<std::size_t>(o)];
    }
}

/// The price of the first layer's activations pulls all that are alive towards 0.
void priceActivations(passValues &values, float price)
{
    for (int i = 0; i < networkInputs; ++i)
    {
        values.inputGradient[i] += values.input[i] > 0.0F ? price : 0.0F;
    }
}

/// The way back from the gradient of the output; adds to the dense gradients.
void passBackward(const roundedWeights &dense, float outputGradient, float activationPrice, passValues &values,
                  denseGradients &sums)
{
    sums.outputBias[0] += outputGradient;
    for (int o = 0; o < hiddenWidth; ++o)
    {
        sums.outputWeight[static_cast<std::size_t>(o)] += outputGradient * values.hidden2[o];
        values.hidden2Gradient[o] = outputGradient * dense.output[static_cast<std::size_t>(o)];
    }
    passClamp(values.hidden2Gradient, values.hidden2, hiddenWidth);
    addOuterProduct(sums.hidden2Weight.data(), values.hidden1, values.hidden2Gradient, hiddenWidth);
    backwardLayer(values.hidden1Gradient, dense.hidden2.data(), values.hidden2Gradient, values.hidden1, hiddenWidth);
    addOuterProduct(sums.hidden1Weight.data(), values.input, values.hidden1Gradient, networkInputs);
    backwardLayer(values.inputGradient, dense.hidden1.data(), values.hidden1Gradient, values.input, networkInputs);
    priceActivations(values, activationPrice);
    for (int o = 0; o < hiddenWidth; ++o)
    {
        sums.hidden2Bias[static_cast<std::size_t>(o)] += values.hidden2Gradient[o];
        sums.hidden1Bias[static_cast<std::size_t>(o)] += values.hidden1Gradient[o];
    }
    addRow(sums.featureBias.data(), values.inputGradient);
    addRow(sums.featureBias.data(), values.inputGradient + transformerWidth);
}

/// The expected result that the network's output stands for, and how fast it changes.
struct predictedResult
{
    double expected;
    double slope;
};
predictedResult predict(const trainingPosition &position, float output, const learningSettings &settings)
{
    const double scale = outputScale(position) / settings.scoreScale;
    const double expected = sigmoid(output * scale);
    return {expected, expected * (1 - expected) * scale};
}

} // namespace

struct trainerWorkspace
{
    std::vector<featureList> lists;
    std::vector<std::uint32_t> slotOf;       ///< by feature: its place among the touched ones
    std::vector<std::uint32_t> slotFeatures; ///< by slot
    std::vector<std::uint32_t> useSlots;     ///< by use of a feature: its slot
    std::vector<std::uint32_t> useHalves;    ///< by use: twice its position's number, plus its half
    groupedItems usesOfSlot;
    std::vector<std::uint32_t> slotRows; ///< by slot: its row in the level under way
    groupedItems slotsOfRow;
    std::vector<float> rows;           ///< by slot
    std::vector<float> rowGradients;   ///< by slot
    std::vector<float> sumGradients;   ///< by position and half
    std::vector<denseGradients> dense; ///< by thread
};

namespace
{

constexpr std::uint32_t noSlot = ~0U;

void collectFeatures(trainerWorkspace &workspace, workCrew &crew, std::span<const trainingPosition> positions)
{
    workspace.lists.resize(positions.size());
    crew.share(positions.size(), positionChunk, [&](std::size_t i) { listFeatures(positions[i], workspace.lists[i]); });
    workspace.slotOf.assign(featureCount, noSlot);
    workspace.slotFeatures.clear();
    workspace.useSlots.clear();
    workspace.useHalves.clear();
    for (std::size_t i = 0; i < positions.size(); ++i)
    {
        const featureList &list = workspace.lists[i];
        for (const int half : {0, 1})
        {
            for (int man = 0; man < list.count; ++man)
            {
                const std::uint16_t feature = list.features[half][man];
                std::uint32_t &slot = workspace.slotOf[feature];
                if (slot == noSlot)
                {
                    slot = static_cast<std::uint32_t>(workspace.slotFeatures.size());
                    workspace.slotFeatures.push_back(feature);
                }
                workspace.useSlots.push_back(slot);
                workspace.useHalves.push_back(static_cast<std::uint32_t>(2 * i) + static_cast<std::uint32_t>(half));
            }
        }
    }
    groupItems(workspace.usesOfSlot, workspace.useSlots, workspace.slotFeatures.size());
}

void sumTouchedRows(const trainerModel &model, trainerWorkspace &workspace, workCrew &crew)
{
    const std::size_t slots = workspace.slotFeatures.size();
    workspace.rows.resize(rowOffset(slots));
    workspace.rowGradients.resize(rowOffset(slots));
    crew.share(slots, rowChunk,
               [&](std::size_t slot) {
                   roundFeatureRow(model, static_cast<int>(workspace.slotFeatures[slot]),
                                   workspace.rows.data() + rowOffset(slot));
               });
}

/// Forward and backward through the dense layers, down to the gradients of the first layer's sums.
double passPositions(const trainerModel &model, trainerWorkspace &workspace, workCrew &crew,
                     std::span<const trainingPosition> positions, const learningSettings &settings)
{
    const roundedWeights rounded = roundDense(model);
    workspace.sumGradients.resize(rowOffset(2 * positions.size()));
    workspace.dense.assign(static_cast<std::size_t>(crew.size()), {});
    crew.runOnAll(
        [&](int thread)
        {
            passValues values;
            denseGradients &sums = workspace.dense[static_cast<std::size_t>(thread)];
            const std::size_t begin = positions.size() * static_cast<std::size_t>(thread) / workspace.dense.size();
            const std::size_t end = positions.size() * static_cast<std::size_t>(thread + 1) / workspace.dense.size();
            for (std::size_t i = begin; i < end; ++i)
            {
                passForward(model, rounded, workspace.lists[i], workspace.rows.data(), workspace.slotOf.data(), values);
                const predictedResult result = predict(positions[i], values.output, settings);
                const double error = result.expected - targetOf(positions[i], settings);
                sums.error += error * error;
                passBackward(rounded, static_cast<float>(2 * error * result.slope),
                             static_cast<float>(settings.activationPrice), values, sums);
                std::copy_n(values.inputGradient, networkInputs, workspace.sumGradients.data() + rowOffset(2 * i));
            }
        });
    double error = 0;
    for (const denseGradients &sums : workspace.dense)
    {
        error += sums.error;
    }
    return error;
}

void gatherRowGradients(trainerWorkspace &workspace, workCrew &crew)
{
    crew.share(workspace.slotFeatures.size(), rowChunk,
               [&](std::size_t slot)
               {
                   float *gradient = workspace.rowGradients.data() + rowOffset(slot);
                   std::fill_n(gradient, transformerWidth, 0.0F);
                   for (std::size_t use = workspace.usesOfSlot.first[slot]; use < workspace.usesOfSlot.first[slot + 1];
                        ++use)
                   {
                       const std::size_t half = workspace.useHalves[workspace.usesOfSlot.items[use]];
                       addRow(gradient, workspace.sumGradients.data() + rowOffset(half));
                   }
               });
}

void stepLevel(const featureLevel &level, learntArray &rows, trainerWorkspace &workspace, workCrew &crew, float scale,
               const adamStep &step)
{
    workspace.slotRows.clear();
    for (const std::uint32_t feature : workspace.slotFeatures)
    {
        workspace.slotRows.push_back(level.rowOf[feature]);
    }
    groupItems(workspace.slotsOfRow, workspace.slotRows, static_cast<std::size_t>(level.rows));
    crew.share(static_cast<std::size_t>(level.rows), rowChunk,
               [&](std::size_t row)
               {
                   const std::size_t begin = workspace.slotsOfRow.first[row];
                   const std::size_t end = workspace.slotsOfRow.first[row + 1];
                   if (begin == end)
                   {
                       return;
                   }
                   float gradient[transformerWidth] = {};
                   for (std::size_t i = begin; i < end; ++i)
                   {
                       addRow(gradient, workspace.rowGradients.data() + rowOffset(workspace.slotsOfRow.items[i]));
                   }
                   const std::size_t offset = rowOffset(row);
                   stepWeights(rows.weights.data() + offset, rows.means.data() + offset, rows.squares.data() + offset,
                               gradient, scale, transformerWidth, step);
               });
}

void stepDense(trainerModel &model, trainerWorkspace &workspace, float scale, const adamStep &step)
{
    denseGradients &total = workspace.dense.front();
    const std::vector<std::vector<float> *> gradients = total.arrays();
    for (std::size_t thread = 1; thread < workspace.dense.size(); ++thread)
    {
        const std::vector<std::vector<float> *> others = workspace.dense[thread].arrays();
        for (std::size_t a = 0; a < gradients.size(); ++a)
        {
            std::transform(others[a]->begin(), others[a]->end(), gradients[a]->begin(), gradients[a]->begin(),
                           std::plus<>());
        }
    }
    learntArray *const arrays[] = {&model.featureBias, &model.hidden1Weight, &model.hidden1Bias, &model.hidden2Weight,
                                   &model.hidden2Bias, &model.outputWeight,  &model.outputBias};
    for (std::size_t a = 0; a < gradients.size(); ++a)
    {
        adamStep limited = step;
        const bool isWeight =
            arrays[a] == &model.hidden1Weight || arrays[a] == &model.hidden2Weight || arrays[a] == &model.outputWeight;
        limited.limit = isWeight ? denseLimit : featureLimit;
        stepWeights(arrays[a]->weights.data(), arrays[a]->means.data(), arrays[a]->squares.data(), gradients[a]->data(),
                    scale, static_cast<int>(gradients[a]->size()), limited);
    }
}

} // namespace

void workspaceDeleter::operator()(trainerWorkspace *workspace) const { delete workspace; }

workspacePointer makeWorkspace() { return workspacePointer(new trainerWorkspace); }

double targetOf(const trainingPosition &position, const learningSettings &settings)
{
    return settings.resultShare * position.points / 2.0 +
           (1 - settings.resultShare) * sigmoid(position.score / settings.scoreScale);
}

double learnBatch(trainerModel &model, trainerWorkspace &workspace, workCrew &crew,
                  std::span<const trainingPosition> positions, const learningSettings &settings)
{
    collectFeatures(workspace, crew, positions);
    sumTouchedRows(model, workspace, crew);
    const double error = passPositions(model, workspace, crew, positions, settings);
    gatherRowGradients(workspace, crew);

    ++model.steps;
    const double count = static_cast<double>(model.steps);
    const float scale = 1.0F / static_cast<float>(positions.size());
    adamStep step;
    step.beta1 = meanDecay;
    step.beta2 = squareDecay;
    step.rate = static_cast<float>(settings.rate * std::sqrt(1 - std::pow(squareDecay, count)) /
                                   (1 - std::pow(meanDecay, count)));
    for (std::size_t i = 0; i < model.levels.size(); ++i)
    {
        adamStep levelStep = step;
        levelStep.limit = featureLimit / static_cast<float>(model.levels.size());
        levelStep.rate *= static_cast<float>(model.levels[i].name == "free" && i > 0 ? settings.freeShare : 1.0);
        stepLevel(model.levels[i], model.levelRows[i], workspace, crew, scale, levelStep);
    }
    stepDense(model, workspace, scale, step);
    return error;
}

namespace
{

/// All rows of the first layer, each at its feature's place.
struct summedRows
{
    std::vector<float> rows = std::vector<float>(rowOffset(featureCount));
    std::vector<std::uint32_t> placeOf = std::vector<std::uint32_t>(featureCount);
};
summedRows sumAllRows(const trainerModel &model, workCrew &crew)
{
    summedRows all;
    crew.share(featureCount, rowChunk,
               [&](std::size_t feature)
               {
                   all.placeOf[feature] = static_cast<std::uint32_t>(feature);
                   roundFeatureRow(model, static_cast<int>(feature), all.rows.data() + rowOffset(feature));
               });
    return all;
}

} // namespace

double meanError(const trainerModel &model, workCrew &crew, std::span<const trainingPosition> positions,
                 const learningSettings &settings)
{
    if (positions.empty())
    {
        return 0;
    }
    const roundedWeights rounded = roundDense(model);
    const summedRows rows = sumAllRows(model, crew);
    std::vector<double> errors(static_cast<std::size_t>(crew.size()));
    crew.runOnAll(
        [&](int thread)
        {
            passValues values;
            featureList list;
            const std::size_t begin = positions.size() * static_cast<std::size_t>(thread) / errors.size();
            const std::size_t end = positions.size() * static_cast<std::size_t>(thread + 1) / errors.size();
            double sum = 0;
            for (std::size_t i = begin; i < end; ++i)
            {
                listFeatures(positions[i], list);
                passForward(model, rounded, list, rows.rows.data(), rows.placeOf.data(), values);
                const double error =
                    predict(positions[i], values.output, settings).expected - targetOf(positions[i], settings);
                sum += error * error;
            }
            errors[static_cast<std::size_t>(thread)] = sum;
        });
    double sum = 0;
    for (const double error : errors)
    {
        sum += error;
    }
    return sum / static_cast<double>(positions.size());
}

std::vector<int> lanesByUse(const trainerModel &model, workCrew &crew, std::span<const trainingPosition> positions)
{
    constexpr std::size_t enoughPositions = 10000;
    const roundedWeights rounded = roundDense(model);
    const summedRows rows = sumAllRows(model, crew);
    std::vector<int> uses(transformerWidth);
    passValues values;
    featureList list;
    for (const trainingPosition &position : positions.first(std::min(positions.size(), enoughPositions)))
    {
        listFeatures(position, list);
        passForward(model, rounded, list, rows.rows.data(), rows.placeOf.data(), values);
        for (std::size_t i = 0; i < networkInputs; ++i)
        {
            uses[i % transformerWidth] += values.input[i] > 0.0F ? 1 : 0;
        }
    }
    std::vector<int> lanes(transformerWidth);
    std::iota(lanes.begin(), lanes.end(), 0);
    std::stable_sort(lanes.begin(), lanes.end(), [&uses](int a, int b) { return uses[a] > uses[b]; });
    return lanes;
}

} // namespace tarvonel
