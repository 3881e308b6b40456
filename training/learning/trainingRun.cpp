#include "learning/trainingRun.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <numeric>
#include <random>
#include <utility>

namespace tarvonel
{

namespace
{

/// `share` is the finished part of the run.
double learningRateAt(const trainingPlan &plan, double share, std::uint64_t steps)
{
    const double cosine = (1 + std::cos(std::numbers::pi * std::min(share, 1.0))) / 2;
    const double rate = plan.finalLearningRate + (plan.learningRate - plan.finalLearningRate) * cosine;
    return rate * std::min(1.0, static_cast<double>(steps + 1) / std::max(plan.warmUp, 1.0));
}

/// Shows a random share of the positions without castling rights as their mirror images.
void mirrorSome(std::vector<trainingPosition> &batch, double share, std::mt19937_64 &random)
{
    std::bernoulli_distribution isChosen(share);
    for (trainingPosition &position : batch)
        position.isMirrored = position.hasCastling == 0 && isChosen(random) ? 1 : 0;
}

/// Chunks that are in memory at the same time.
struct dataBlock
{
    std::vector<std::uint32_t> chunks; ///< their numbers
    std::uint64_t positions = 0;
};

std::vector<std::uint32_t> shuffledNumbers(std::size_t count, std::mt19937_64 &random)
{
    std::vector<std::uint32_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0U);
    std::ranges::shuffle(numbers, random);
    return numbers;
}

/// Distributes the chunks over the fewest blocks that fit into memory, about evenly.
std::vector<dataBlock> makeBlocks(const trainingPlan &plan, const trainingData &data, std::mt19937_64 &random)
{
    std::vector<dataBlock> blocks((data.passPositions + plan.block - 1) / plan.block);
    std::uint64_t assigned = 0;
    for (const std::uint32_t chunk : shuffledNumbers(data.chunks.size(), random))
    {
        dataBlock &block = blocks[std::min(assigned * blocks.size() / data.passPositions, blocks.size() - 1)];
        block.chunks.push_back(chunk);
        block.positions += data.chunks[chunk].positions;
        assigned += data.chunks[chunk].positions;
    }
    return blocks;
}

/// Trains on the positions in memory, without the first `done`, in batches of about the wanted size.
bool trainBlock(trainingRun &run, std::uint64_t done, std::uint64_t seed,
                const std::function<bool(const batchReport &)> &afterBatch)
{
    std::mt19937_64 random(seed);
    const std::vector<std::uint32_t> order = shuffledNumbers(run.positions.size(), random);
    const std::size_t batches = std::max<std::size_t>((order.size() + run.plan.batch / 2) / run.plan.batch, 1);
    trainingSettings settings = run.plan.settings;
    std::vector<trainingPosition> batch;
    for (std::size_t i = 0; i < batches; ++i)
    {
        const std::size_t begin = order.size() * i / batches;
        const std::size_t end = order.size() * (i + 1) / batches;
        const std::uint64_t batchSeed = random();
        if (begin < done || begin == end)
            continue;
        batch.clear();
        for (std::size_t place = begin; place < end; ++place)
            batch.push_back(run.positions[order[place]]);
        std::mt19937_64 batchRandom(batchSeed);
        mirrorSome(batch, run.plan.mirrorShare, batchRandom);
        const double epochs = static_cast<double>(run.progress.epoch) +
                              static_cast<double>(run.progress.positions) / static_cast<double>(run.data.passPositions);
        settings.learningRate =
            learningRateAt(run.plan, epochs / static_cast<double>(run.plan.epochs), run.model.steps);
        const double error = trainBatch(run.model, *run.workspace, run.pool, batch, settings);
        run.progress.positions += batch.size();
        if (!afterBatch({error, batch.size(), settings.learningRate}))
            return false;
    }
    return true;
}

} // namespace

bool trainEpoch(trainingRun &run, const std::function<bool(const batchReport &)> &afterBatch)
{
    const passNumber pass{run.progress.seed, run.progress.epoch};
    std::mt19937_64 random(pass.seed * 1000003 + pass.pass);
    const std::vector<dataBlock> blocks = makeBlocks(run.plan, run.data, random);
    std::uint64_t done = run.progress.positions;
    for (const dataBlock &block : blocks)
    {
        const std::uint64_t blockSeed = random();
        if (done >= block.positions)
        {
            done -= block.positions;
            continue;
        }
        if (blocks.size() > 1 || run.plan.data.gameShare < 1 || run.positions.empty())
            readChunks(run.positions, run.data, block.chunks, run.plan.data, pass, run.pool);
        if (!trainBlock(run, std::exchange(done, 0), blockSeed, afterBatch))
            return false;
    }
    run.progress.positions = 0;
    ++run.progress.epoch;
    return true;
}

} // namespace tarvonel
