// Learns the evaluation network from files of self-played games.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <numeric>
#include <random>
#include <string>
#include <utility>
#include <vector>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "learning/modelNetwork.h"
#include "learning/trainerJudge.h"
#include "learning/trainerStep.h"
#include "platform/clock.h"
#include "programMain.h"

namespace tarvonel
{

namespace
{

constexpr std::int64_t progressInterval = 5000; ///< milliseconds

struct trainingPlan
{
    std::vector<std::string> files;
    std::string out = "network.nnue";
    std::string checkpoint;
    std::string from;
    std::string levelNames = "base,region";
    std::vector<featureLevel> levels;
    dataSettings data;
    learningSettings settings;
    double learningRate = 0.001;
    double finalLearningRate = 0.00002;
    double mirrorShare = 0.5;
    double warmUp = 200; ///< steps
    std::uint64_t capacity = 4'000'000'000;
    std::size_t block = 100'000'000;
    std::size_t batch = 2048;
    std::uint64_t epochs = 2;
    std::uint64_t seed = 1;
    int threads = coreCount();
    bool resumes = false;
};

void declareOptions(CLI::App &app, trainingPlan &plan)
{
    const CLI::Validator share = numberFrom(0, 1);
    learningSettings &settings = plan.settings;
    dataSettings &data = plan.data;
    targetSettings &target = data.target;
    app.add_option("games", plan.files, "files of games")->required();
    app.add_option("--out", plan.out, "the network file, written after each epoch");
    CLI::Option *checkpoint = app.add_option("--checkpoint", plan.checkpoint,
                                             "weights and optimiser, written after each epoch and on an interrupt");
    CLI::Option *resume =
        app.add_flag("--resume", plan.resumes, "goes on from the checkpoint, if it is there")->needs(checkpoint);
    app.add_option("--from", plan.from, "starts a new run from the weights of a checkpoint or a network file")
        ->excludes(resume);
    app.add_option("--levels", plan.levelNames, "what rows are sums of: base,region,mirror,free");
    app.add_option("--epochs", plan.epochs, "passes over the data")->check(numberFrom(1, 100'000));
    app.add_option("--batch", plan.batch, "positions for each step")->check(numberFrom(1, 1'000'000));
    app.add_option("--learning-rate", plan.learningRate, "learning rate after the warm-up")->check(numberFrom(1e-9, 1));
    app.add_option("--final-learning-rate", plan.finalLearningRate, "and at the end, along half a cosine")
        ->check(share);
    app.add_option("--warm-up", plan.warmUp, "first steps over which the rate rises from 0")->check(numberFrom(0, 1e9));
    app.add_option("--weight-decay", settings.weightDecay,
                   "share of the weights, times the rate, that each step takes off")
        ->check(numberFrom(0, 100));
    app.add_option("--average", settings.averagedSteps,
                   "writes and judges the mean of the weights of about the last so many steps")
        ->check(numberFrom(0, 1e9));
    app.add_option("--free-share", settings.freeShare, "rate of the free rows, as a share of the others'")
        ->check(numberFrom(0, 10));
    app.add_option("--wdl-weight", target.wdlWeight, "weight of the game's result in the target, at its last ply")
        ->check(share);
    app.add_option("--wdl-decay", target.wdlDecay, "factor on that weight for each ply before the last one")
        ->check(share);
    app.add_option("--td-lambda", target.tdLambda,
                   "TD(lambda): weight of the later scores of the game, and of its result at their end")
        ->check(share);
    app.add_option("--l1-penalty", settings.l1Penalty,
                   "error for each unit of first-layer activation, for a faster engine")
        ->check(share);
    app.add_option("--game-share", data.gameShare,
                   "random share of each game's positions that a pass trains on, each pass another one")
        ->check(numberFrom(0.001, 1));
    app.add_option("--mirror-share", plan.mirrorShare,
                   "share of positions without castling rights to be shown mirrored")
        ->check(share);
    app.add_option("--score-scale", target.scoreScale, "centipawns of the target's sigmoid")
        ->check(numberFrom(1, 10'000));
    app.add_option("--positions", plan.capacity, "learns from about the first so many")->check(numberFrom(1, 4e9));
    app.add_option("--block", plan.block, "positions to hold in memory and mix at a time")->check(numberFrom(1, 4e9));
    app.add_option("--validation", data.validationShare, "keeps the games of one start in so many for validation")
        ->check(numberFrom(2, 1e9));
    app.add_option("--first-ply", data.firstPly, "leaves out earlier plies of games")->check(numberFrom(0, 10'000));
    app.add_option("--max-balance", data.maxBalance, "leaves out larger material and placement, centipawns")
        ->check(numberFrom(0, 32767));
    app.add_option("--max-score", data.maxScore, "leaves out larger scores, centipawns")->check(numberFrom(0, 32767));
    app.add_option("--threads", plan.threads, "threads")->check(numberFrom(1, 256));
    app.add_option("--seed", plan.seed, "of first weights and order")->check(numberFrom(0, 1e9));
}

std::string readData(const trainingPlan &plan, trainingData &data, workCrew &crew)
{
    const std::int64_t start = millisecondsNow();
    std::string error = openData(data, plan.files, plan.data, plan.capacity, crew);
    if (!error.empty())
        return error;
    std::printf("%llu positions to train on in a pass, %zu for validation, of %llu in %llu games (%.1f s)\n",
                static_cast<unsigned long long>(data.learnable), data.validation.size(),
                static_cast<unsigned long long>(data.positions), static_cast<unsigned long long>(data.games),
                static_cast<double>(millisecondsNow() - start) / 1000);
    if (data.damagedBytes > 0 || data.badGames > 0)
        std::printf("passed over: %llu damaged bytes, %llu games that are not legal\n",
                    static_cast<unsigned long long>(data.damagedBytes), static_cast<unsigned long long>(data.badGames));
    std::fflush(stdout);
    return data.learnable == 0 ? "no positions to learn from" : "";
}

/// Fresh weights, or those of a checkpoint or network. Empty text or what went wrong.
std::string prepareModel(const trainingPlan &plan, trainerModel &model, checkpointProgress &progress)
{
    progress = {0, 0, plan.seed};
    if (plan.resumes && std::filesystem::exists(plan.checkpoint))
    {
        std::string error = loadCheckpoint(model, progress, plan.checkpoint);
        std::printf("resuming after %llu epochs and %llu positions\n", static_cast<unsigned long long>(progress.epoch),
                    static_cast<unsigned long long>(progress.positions));
        return error;
    }
    initialiseModel(model, plan.levels, plan.seed);
    if (plan.from.empty())
        return {};
    if (!isCheckpoint(plan.from))
    {
        if (!loadNetFile(plan.from))
            return plan.from + " is neither checkpoint nor network";
        std::printf("--levels %s: holds %.2f%% of the network's first layer\n", plan.levelNames.c_str(),
                    100 * takeNetwork(model, netWeights));
        return {};
    }
    trainerModel other;
    checkpointProgress ignored;
    std::string error = loadCheckpoint(other, ignored, plan.from);
    return error.empty() ? takeWeights(model, other) : error;
}

/// The rate after a share of the run.
double rateAt(const trainingPlan &plan, double share, std::uint64_t steps)
{
    const double cosine = (1 + std::cos(std::numbers::pi * std::min(share, 1.0))) / 2;
    const double rate = plan.finalLearningRate + (plan.learningRate - plan.finalLearningRate) * cosine;
    return rate * std::min(1.0, static_cast<double>(steps + 1) / std::max(plan.warmUp, 1.0));
}

/// Shows the share of those positions that nothing but the files tells apart from their mirror image
/// as that image.
void mirrorSome(std::vector<trainingPosition> &batch, double share, std::mt19937_64 &random)
{
    std::bernoulli_distribution isChosen(share);
    for (trainingPosition &position : batch)
        position.isMirrored = position.hasCastling == 0 && isChosen(random) ? 1 : 0;
}

/// Pieces of the files in memory at the same time.
struct dataBlock
{
    std::vector<std::uint32_t> pieces; ///< their numbers
    std::uint64_t positions = 0;
};

std::vector<std::uint32_t> shuffledNumbers(std::size_t count, std::mt19937_64 &random)
{
    std::vector<std::uint32_t> numbers(count);
    std::iota(numbers.begin(), numbers.end(), 0U);
    std::ranges::shuffle(numbers, random);
    return numbers;
}

/// Deals the pieces out among as few blocks as memory allows, about equal ones.
std::vector<dataBlock> dealBlocks(const trainingPlan &plan, const trainingData &data, std::mt19937_64 &random)
{
    std::vector<dataBlock> blocks((data.learnable + plan.block - 1) / plan.block);
    std::uint64_t dealt = 0;
    for (const std::uint32_t piece : shuffledNumbers(data.pieces.size(), random))
    {
        dataBlock &block = blocks[std::min(dealt * blocks.size() / data.learnable, blocks.size() - 1)];
        block.pieces.push_back(piece);
        block.positions += data.pieces[piece].positions;
        dealt += data.pieces[piece].positions;
    }
    return blocks;
}

/// All that one run works with.
struct trainingRun
{
    const trainingPlan &plan;
    workCrew crew;
    trainingData data;
    trainerModel model;
    checkpointProgress progress;
    workspacePointer workspace = makeWorkspace();
    std::vector<trainingPosition> positions; ///< of the block under way

    explicit trainingRun(const trainingPlan &given) : plan(given), crew(given.threads) {}
};

/// Tells from time to time how the epoch goes.
struct progressTeller
{
    double error = 0; ///< sums since the last line
    std::uint64_t learnt = 0;
    std::int64_t told = millisecondsNow();

    void tell(const trainingRun &run, double rate)
    {
        const std::int64_t now = millisecondsNow();
        const bool isLast = run.progress.positions >= run.data.learnable;
        if (learnt == 0 || (now - told < progressInterval && !isLast))
            return;
        std::printf("epoch %llu  %5.1f%%  error %.6f  rate %.6f  %.0f positions/s\n",
                    static_cast<unsigned long long>(run.progress.epoch) + 1,
                    100 * static_cast<double>(run.progress.positions) / static_cast<double>(run.data.learnable),
                    error / static_cast<double>(learnt), rate,
                    static_cast<double>(learnt) * 1000 / static_cast<double>(std::max<std::int64_t>(now - told, 1)));
        std::fflush(stdout);
        *this = {0, 0, now};
    }
};

/// Learns from the positions in memory in steps of about the batch's size, but for the first `done`.
void learnBlock(trainingRun &run, std::uint64_t done, std::mt19937_64 &random, progressTeller &teller)
{
    const std::vector<std::uint32_t> order = shuffledNumbers(run.positions.size(), random);
    const std::uint64_t epochSize = run.data.learnable;
    const std::size_t steps = std::max<std::size_t>((order.size() + run.plan.batch / 2) / run.plan.batch, 1);
    learningSettings settings = run.plan.settings;
    std::vector<trainingPosition> batch;
    for (std::size_t step = 0; step < steps && !interrupted; ++step)
    {
        const std::size_t begin = order.size() * step / steps;
        const std::size_t end = order.size() * (step + 1) / steps;
        if (begin < done || begin == end)
            continue;
        batch.clear();
        for (std::size_t i = begin; i < end; ++i)
            batch.push_back(run.positions[order[i]]);
        mirrorSome(batch, run.plan.mirrorShare, random);
        const double epochs = static_cast<double>(run.progress.epoch) +
                              static_cast<double>(run.progress.positions) / static_cast<double>(epochSize);
        settings.rate = rateAt(run.plan, epochs / static_cast<double>(run.plan.epochs), run.model.steps);
        teller.error += learnBatch(run.model, *run.workspace, run.crew, batch, settings);
        teller.learnt += batch.size();
        run.progress.positions += batch.size();
        teller.tell(run, settings.rate);
    }
}

/// One pass over the data in an order of its own, or the rest of one; false when interrupted.
bool learnEpoch(trainingRun &run)
{
    std::mt19937_64 random(run.progress.seed * 1000003 + run.progress.epoch);
    const std::vector<dataBlock> blocks = dealBlocks(run.plan, run.data, random);
    std::uint64_t toSkip = run.progress.positions;
    progressTeller teller;
    for (const dataBlock &block : blocks)
    {
        if (toSkip >= block.positions)
        {
            toSkip -= block.positions;
            continue;
        }
        if (blocks.size() > 1 || run.plan.data.gameShare < 1 || run.positions.empty())
            readPieces(run.positions, run.data, block.pieces, run.plan.data, {run.progress.seed, run.progress.epoch},
                       run.crew);
        learnBlock(run, std::exchange(toSkip, 0), random, teller);
        if (interrupted)
            return false;
    }
    run.progress.positions = 0;
    ++run.progress.epoch;
    return true;
}

/// Judges the model by the positions of validation, and writes it.
std::string judgeAndSave(trainingRun &run, const std::string &when)
{
    const bool isAveraged = run.plan.settings.averagedSteps > 0 && run.model.steps > 0;
    const trainerModel averaged = isAveraged ? averagedModel(run.model) : trainerModel{};
    const trainerModel &model = isAveraged ? averaged : run.model;
    const judgement judged = judgeModel(model, run.crew, run.data.validation, run.plan.settings);
    std::printf("%s: validation error %.6f\n%s%s", when.c_str(), judged.error, phaseText(judged).c_str(),
                healthText(judged).c_str());
    std::fflush(stdout);
    if (run.model.steps == 0)
        return {};
    std::string error = writeNetwork(model, judged.lanes, run.plan.out, "learnt from the engine's own games");
    return !error.empty() || run.plan.checkpoint.empty() ? error
                                                         : saveCheckpoint(run.model, run.progress, run.plan.checkpoint);
}

std::string learn(const trainingPlan &plan)
{
    trainingRun run(plan);
    std::string error = prepareModel(plan, run.model, run.progress);
    if (error.empty())
        error = readData(plan, run.data, run.crew);
    if (error.empty() && run.model.steps == 0)
        error = judgeAndSave(run, "before");
    while (error.empty() && run.progress.epoch < plan.epochs && !interrupted)
    {
        const bool finished = learnEpoch(run);
        const std::uint64_t epoch = run.progress.epoch + (finished ? 0 : 1);
        error = judgeAndSave(run, (finished ? "after epoch " : "interrupted in epoch ") + std::to_string(epoch));
    }
    closeData(run.data);
    return error;
}

int train(trainingPlan &plan)
{
    std::string error;
    plan.levels = makeLevels(plan.levelNames, error);
    if (!error.empty())
        throw CLI::ValidationError("--levels", error);
    engineOptions.chess960 = true; // games of both kinds may stand in a file; standard ones lose nothing
    plan.settings.scoreScale = plan.data.target.scoreScale;
    watchForInterrupts();
    error = learn(plan);
    if (!error.empty())
        throw std::runtime_error(error);
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::trainingPlan plan;
    return tarvonel::programMain(
        argc, argv, "Learns a network from files of games.",
        [&](CLI::App &app) { tarvonel::declareOptions(app, plan); }, [&] { return tarvonel::train(plan); });
}
