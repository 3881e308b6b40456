#include "learning/trainerStep.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

namespace tarvonel
{

struct trainerWorkspace
{
    std::vector<classList> lists;          ///< by position
    std::vector<std::uint32_t> useClasses; ///< by use of a row: its class
    std::vector<std::uint32_t> useHalves;  ///< by use: twice the index of its position, plus the half
    groupedItems usesOfClass;              ///< the halves in which a class is used
    std::vector<std::uint32_t> touched;    ///< classes in use
    lineVector<std::int16_t> rows;         ///< by class, like the gradients; valid for the touched ones
    lineVector<float> rowGradients;
    lineVector<float> sumGradients;    ///< by position and half
    std::vector<denseGradients> dense; ///< by thread
};

namespace
{

constexpr std::size_t positionChunk = 64;
constexpr std::uint64_t averageInterval = 64; ///< steps between updates of the averages

/// Adam's bias correction as a factor on the learning rate, by the number of updates of a row: a row first
/// used late in the run starts from means of 0 too.
float correctionAfter(std::uint32_t steps)
{
    static const auto corrections = []
    {
        std::array<float, 8192> table{};
        for (std::size_t i = 0; i < table.size(); ++i)
        {
            const auto count = static_cast<double>(i + 1);
            table[i] =
                static_cast<float>(std::sqrt(1 - std::pow(squareDecay, count)) / (1 - std::pow(meanDecay, count)));
        }
        return table;
    }();
    return steps > corrections.size() ? 1.0F : corrections[steps - 1];
}

void collectClasses(const trainerModel &model, trainerWorkspace &workspace, threadPool &pool,
                    std::span<const trainingPosition> positions)
{
    workspace.lists.resize(positions.size());
    pool.parallelFor(positions.size(), positionChunk,
                     [&](std::size_t i) { listClasses(positions[i], model.classes, workspace.lists[i]); });
    workspace.useClasses.clear();
    workspace.useHalves.clear();
    for (std::uint32_t half = 0; half < 2 * positions.size(); ++half)
    {
        const classList &list = workspace.lists[half / 2];
        const std::uint32_t *places = list.places[half % 2];
        workspace.useClasses.insert(workspace.useClasses.end(), places, places + list.count);
        workspace.useHalves.insert(workspace.useHalves.end(), static_cast<std::size_t>(list.count), half);
    }
    groupItems(workspace.usesOfClass, workspace.useClasses, model.classes.featureOf.size());
    for (std::uint32_t &use : workspace.usesOfClass.items)
        use = workspace.useHalves[use];
    workspace.touched.clear();
    for (std::uint32_t each = 0; each < model.classes.featureOf.size(); ++each)
        if (workspace.usesOfClass.first[each] != workspace.usesOfClass.first[each + 1])
            workspace.touched.push_back(each);
}

void roundTouchedRows(const trainerModel &model, trainerWorkspace &workspace, threadPool &pool)
{
    workspace.rows.resize(rowOffset(model.classes.featureOf.size()));
    workspace.rowGradients.resize(workspace.rows.size());
    pool.parallelFor(workspace.touched.size(), rowChunk,
                     [&](std::size_t i)
                     {
                         const std::size_t each = workspace.touched[i];
                         roundClassRow(model, each, workspace.rows.data() + rowOffset(each));
                     });
}

/// Forward and backward through the dense layers, down to the gradients of the first layer's sums.
void propagateBatch(const trainerModel &model, trainerWorkspace &workspace, threadPool &pool,
                    std::span<const trainingPosition> positions, const trainingSettings &settings)
{
    const roundedWeights rounded = roundWeights(model);
    workspace.sumGradients.resize(rowOffset(2 * positions.size()));
    workspace.dense.assign(static_cast<std::size_t>(pool.size()), {});
    pool.runOnAll(
        [&](int thread)
        {
            passValues values;
            denseGradients &sums = workspace.dense[static_cast<std::size_t>(thread)];
            const std::size_t begin = positions.size() * static_cast<std::size_t>(thread) / workspace.dense.size();
            const std::size_t end = positions.size() * static_cast<std::size_t>(thread + 1) / workspace.dense.size();
            for (std::size_t i = begin; i < end; ++i)
            {
                passForward(rounded, workspace.lists[i], workspace.rows.data(), values);
                const predictedResult result = predict(positions[i], values.output, settings);
                const double error = result.expected - targetOf(positions[i]);
                sums.error += error * error;
                passBackward(rounded, static_cast<float>(2 * error * result.slope),
                             static_cast<float>(settings.l1Penalty), values, sums);
                std::copy_n(values.inputGradient, networkInputs, workspace.sumGradients.data() + rowOffset(2 * i));
            }
        });
}

void gatherRowGradients(trainerWorkspace &workspace, threadPool &pool)
{
    pool.parallelFor(workspace.touched.size(), rowChunk,
                     [&](std::size_t i)
                     {
                         const std::size_t each = workspace.touched[i];
                         const std::uint32_t first = workspace.usesOfClass.first[each];
                         sumRows(workspace.rowGradients.data() + rowOffset(each), workspace.sumGradients.data(),
                                 workspace.usesOfClass.items.data() + first,
                                 workspace.usesOfClass.first[each + 1] - first);
                     });
}

/// Updates one row; `step` has the learning rate without the bias correction.
void stepRow(parameterArray &array, std::size_t row, const float *gradient, float scale, adamStep step)
{
    const std::size_t width = array.weights.size() / array.steps.size();
    step.rate *= correctionAfter(++array.steps[row]);
    stepWeights(array.weights.data() + row * width, array.means.data() + row * width,
                array.squares.data() + row * width, gradient, scale, static_cast<int>(width), step);
}

/// A row that the batch does not use stays as it is; its L2 penalty for such steps comes with its next use.
void stepLevel(const groupedItems &classesOfRow, parameterArray &rows, const trainerWorkspace &workspace,
               threadPool &pool, float scale, const adamStep &step, std::uint64_t stepNumber)
{
    const std::vector<std::uint32_t> &uses = workspace.usesOfClass.first;
    pool.parallelFor(rows.steps.size(), rowChunk,
                     [&](std::size_t row)
                     {
                         std::uint32_t touched[squareCount]; // at most one class per king square shares a row
                         std::size_t count = 0;
                         for (std::uint32_t i = classesOfRow.first[row]; i < classesOfRow.first[row + 1]; ++i)
                         {
                             const std::uint32_t each = classesOfRow.items[i];
                             if (uses[each] != uses[each + 1])
                                 touched[count++] = each;
                         }
                         if (count == 0)
                             return;
                         alignas(64) float gradient[transformerWidth];
                         sumRows(gradient, workspace.rowGradients.data(), touched, count);
                         adamStep own = step;
                         own.penalty *= static_cast<float>(stepNumber) / static_cast<float>(rows.steps[row] + 1);
                         stepRow(rows, row, gradient, scale, own);
                     });
}

void stepDense(trainerModel &model, trainerWorkspace &workspace, float scale, const adamStep &step)
{
    const std::vector<lineVector<float> *> gradients = workspace.dense.front().arrays();
    for (std::size_t thread = 1; thread < workspace.dense.size(); ++thread)
    {
        const std::vector<lineVector<float> *> others = workspace.dense[thread].arrays();
        for (std::size_t a = 0; a < gradients.size(); ++a)
            std::transform(others[a]->begin(), others[a]->end(), gradients[a]->begin(), gradients[a]->begin(),
                           std::plus<>());
        workspace.dense.front().error += workspace.dense[thread].error;
    }
    const struct
    {
        parameterArray &array;
        bool isWeight;
    } arrays[] = {{model.featureBias, false},  {model.hidden1Weight, true}, {model.hidden1Bias, false},
                  {model.hidden2Weight, true}, {model.hidden2Bias, false},  {model.outputWeight, true},
                  {model.outputBias, false}};
    for (std::size_t a = 0; a < gradients.size(); ++a)
    {
        adamStep own = step;
        own.limit = arrays[a].isWeight ? denseLimit : featureLimit;
        own.decay = arrays[a].isWeight ? step.decay : 0;
        stepRow(arrays[a].array, 0, gradients[a]->data(), scale, own);
    }
}

/// An exponential running mean, which starts as the plain mean of the first steps.
void averageWeights(trainerModel &model, threadPool &pool, double averagedSteps)
{
    const std::uint64_t taken = 1 + model.steps / averageInterval;
    const double share =
        std::max(averageInterval / std::max<double>(averagedSteps, averageInterval), 1 / static_cast<double>(taken));
    for (parameterArray *array : arraysOf(model))
    {
        const std::size_t width = array->weights.size() / array->steps.size();
        pool.parallelFor(array->steps.size(), rowChunk,
                         [&](std::size_t row)
                         {
                             moveAverages(array->averages.data() + row * width, array->weights.data() + row * width,
                                          static_cast<float>(share), static_cast<int>(width));
                         });
    }
}

} // namespace

void workspaceDeleter::operator()(trainerWorkspace *workspace) const { delete workspace; }

workspacePointer makeWorkspace() { return workspacePointer(new trainerWorkspace); }

double trainBatch(trainerModel &model, trainerWorkspace &workspace, threadPool &pool,
                  std::span<const trainingPosition> positions, const trainingSettings &settings)
{
    collectClasses(model, workspace, pool, positions);
    roundTouchedRows(model, workspace, pool);
    propagateBatch(model, workspace, pool, positions, settings);
    gatherRowGradients(workspace, pool);

    const float scale = 1.0F / static_cast<float>(positions.size());
    adamStep step;
    step.rate = static_cast<float>(settings.learningRate);
    step.decay = static_cast<float>(settings.learningRate * settings.weightDecay);
    step.epsilon = static_cast<float>(settings.epsilon);
    for (std::size_t i = 0; i < model.levels.size(); ++i)
    {
        adamStep own = step;
        own.limit = featureLimit / static_cast<float>(model.levels.size());
        own.rate *= static_cast<float>(model.levels[i].name == "free" && i > 0 ? settings.freeShare : 1.0);
        own.penalty = i > 0 ? static_cast<float>(2 * settings.l2Penalty) : 0;
        stepLevel(model.classes.classesOfRow[i], model.levelRows[i], workspace, pool, scale, own, model.steps + 1);
    }
    stepDense(model, workspace, scale, step);
    if (model.steps++ % averageInterval == 0)
        averageWeights(model, pool, settings.averagedSteps);
    return workspace.dense.front().error;
}

} // namespace tarvonel
