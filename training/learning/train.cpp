// Learns the evaluation network from files of self-played games.

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "learning/modelNetwork.h"
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
    dataFilter filter;
    learningSettings settings;
    double firstRate = 0.001;
    double finalRate = 0.00002;
    double mirrorShare = 0.5;
    std::size_t capacity = 200'000'000;
    std::size_t batch = 8192;
    std::uint64_t epochs = 2;
    std::uint64_t seed = 1;
    int threads = coreCount();
    bool resumes = false;
};

void declareOptions(CLI::App &app, trainingPlan &plan)
{
    const CLI::Validator share = numberFrom(0, 1);
    learningSettings &settings = plan.settings;
    dataFilter &filter = plan.filter;
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
    app.add_option("--rate", plan.firstRate, "learning rate at the start")->check(numberFrom(1e-9, 1));
    app.add_option("--final-rate", plan.finalRate, "and at the end, along half a cosine")->check(share);
    app.add_option("--free-share", settings.freeShare, "rate of the free rows, as a share of the others'")
        ->check(numberFrom(0, 10));
    app.add_option("--result-share", settings.resultShare, "weight of the game's result in the target")->check(share);
    app.add_option("--activation-price", settings.activationPrice,
                   "error for each unit of first-layer activation, for a faster engine")
        ->check(share);
    app.add_option("--mirror-share", plan.mirrorShare,
                   "share of positions without castling rights to be shown mirrored")
        ->check(share);
    app.add_option("--score-scale", settings.scoreScale, "centipawns of the target's sigmoid")
        ->check(numberFrom(1, 10'000));
    app.add_option("--positions", plan.capacity, "learns from at most so many")->check(numberFrom(1, 4e9));
    app.add_option("--validation", filter.validationShare, "keeps the games of one start in so many for validation")
        ->check(numberFrom(2, 1e9));
    app.add_option("--first-ply", filter.firstPly, "leaves out earlier plies of games")->check(numberFrom(0, 10'000));
    app.add_option("--widest-balance", filter.widestBalance, "leaves out larger material and placement, centipawns")
        ->check(numberFrom(0, 32767));
    app.add_option("--highest-score", filter.highestScore, "leaves out larger scores, centipawns")
        ->check(numberFrom(0, 32767));
    app.add_option("--threads", plan.threads, "threads")->check(numberFrom(1, 256));
    app.add_option("--seed", plan.seed, "of first weights and order")->check(numberFrom(0, 1e9));
}

std::string loadData(const trainingPlan &plan, trainingData &data)
{
    const std::int64_t start = millisecondsNow();
    for (const std::string &file : plan.files)
    {
        const std::string error = loadPositions(data, file, plan.filter, plan.capacity);
        if (!error.empty())
        {
            return error;
        }
    }
    std::printf("%zu positions to learn from, %zu for validation, of %llu in %llu games (%.1f s)\n",
                data.training.size(), data.validation.size(), static_cast<unsigned long long>(data.positions),
                static_cast<unsigned long long>(data.games), static_cast<double>(millisecondsNow() - start) / 1000);
    if (data.damagedBytes > 0 || data.badGames > 0)
    {
        std::printf("passed over: %llu damaged bytes, %llu games that are not legal\n",
                    static_cast<unsigned long long>(data.damagedBytes), static_cast<unsigned long long>(data.badGames));
    }
    return data.training.empty() ? "no positions to learn from" : "";
}

/// Fresh weights, or those of a checkpoint or network. Empty text or what went wrong.
std::string prepareModel(const trainingPlan &plan, trainerModel &model, checkpointProgress &progress)
{
    progress = {0, plan.seed};
    if (plan.resumes && std::filesystem::exists(plan.checkpoint))
    {
        const std::string error = loadCheckpoint(model, progress, plan.checkpoint);
        std::printf("resuming after epoch %llu\n", static_cast<unsigned long long>(progress.epoch));
        return error;
    }
    initialiseModel(model, plan.levels, plan.seed);
    if (plan.from.empty())
    {
        return {};
    }
    if (!isCheckpoint(plan.from))
    {
        if (!loadNetFile(plan.from))
        {
            return plan.from + " is neither checkpoint nor network";
        }
        takeNetwork(model, netWeights);
        return {};
    }
    trainerModel other;
    checkpointProgress ignored;
    std::string error = loadCheckpoint(other, ignored, plan.from);
    return error.empty() ? takeWeights(model, other) : error;
}

double rateAt(const trainingPlan &plan, double share)
{
    return plan.finalRate + (plan.firstRate - plan.finalRate) * (1 + std::cos(std::numbers::pi * share)) / 2;
}

void tellProgress(std::uint64_t epoch, double share, double error, double rate, double speed)
{
    std::printf("epoch %llu  %5.1f%%  error %.6f  rate %.6f  %.0f positions/s\n",
                static_cast<unsigned long long>(epoch), share * 100, error, rate, speed);
    std::fflush(stdout);
}

/// Shows the share of those positions that nothing but the files tells apart from their mirror image
/// as that image.
void mirrorSome(std::vector<trainingPosition> &batch, double share, std::mt19937_64 &random)
{
    std::bernoulli_distribution isChosen(share);
    for (trainingPosition &position : batch)
    {
        position.isMirrored = position.hasCastling == 0 && isChosen(random) ? 1 : 0;
    }
}

/// One pass over the data in an order of its own; false when interrupted.
bool learnEpoch(const trainingPlan &plan, const trainingData &data, trainerModel &model, trainerWorkspace &workspace,
                workCrew &crew, const checkpointProgress &progress)
{
    std::vector<std::uint32_t> order(data.training.size());
    for (std::size_t i = 0; i < order.size(); ++i)
    {
        order[i] = static_cast<std::uint32_t>(i);
    }
    std::mt19937_64 random(progress.seed * 1000003 + progress.epoch);
    std::shuffle(order.begin(), order.end(), random);

    learningSettings settings = plan.settings;
    std::vector<trainingPosition> batch;
    double error = 0;
    std::size_t learnt = 0;
    const std::int64_t start = millisecondsNow();
    std::int64_t told = start;
    while (learnt < order.size() && !interrupted)
    {
        const std::size_t count = std::min(plan.batch, order.size() - learnt);
        batch.resize(count);
        crew.share(count, 1024, [&](std::size_t i) { batch[i] = data.training[order[learnt + i]]; });
        mirrorSome(batch, plan.mirrorShare, random);
        const double share = static_cast<double>(learnt) / static_cast<double>(order.size());
        settings.rate = rateAt(
            plan, std::min((static_cast<double>(progress.epoch) + share) / static_cast<double>(plan.epochs), 1.0));
        error += learnBatch(model, workspace, crew, batch, settings);
        learnt += count;
        const std::int64_t now = millisecondsNow();
        if (now - told >= progressInterval || learnt == order.size())
        {
            told = now;
            tellProgress(progress.epoch + 1, static_cast<double>(learnt) / static_cast<double>(order.size()),
                         error / static_cast<double>(learnt), settings.rate,
                         static_cast<double>(learnt) * 1000 /
                             static_cast<double>(std::max<std::int64_t>(now - start, 1)));
        }
    }
    return !interrupted;
}

std::string saveAll(const trainingPlan &plan, trainerModel &model, const std::vector<int> &lanes,
                    const checkpointProgress &progress)
{
    const std::string error = writeNetwork(model, lanes, plan.out, "learnt from the engine's own games");
    return !error.empty() || plan.checkpoint.empty() ? error : saveCheckpoint(model, progress, plan.checkpoint);
}

std::string learn(const trainingPlan &plan)
{
    trainerModel model;
    checkpointProgress progress;
    std::string error = prepareModel(plan, model, progress);
    trainingData data;
    if (error.empty())
    {
        error = loadData(plan, data);
    }
    if (!error.empty())
    {
        return error;
    }
    workCrew crew(plan.threads);
    const workspacePointer workspace = makeWorkspace();
    std::printf("validation error before: %.6f\n", meanError(model, crew, data.validation, plan.settings));
    while (progress.epoch < plan.epochs && error.empty())
    {
        const bool finished = learnEpoch(plan, data, model, *workspace, crew, progress);
        progress.epoch += finished ? 1 : 0;
        std::printf("%s %llu: validation error %.6f\n", finished ? "after epoch" : "interrupted in epoch",
                    static_cast<unsigned long long>(progress.epoch + (finished ? 0 : 1)),
                    meanError(model, crew, data.validation, plan.settings));
        std::fflush(stdout);
        error = saveAll(plan, model, lanesByUse(model, crew, data.validation), progress);
        if (!finished)
        {
            break;
        }
    }
    return error;
}

int train(trainingPlan &plan)
{
    std::string error;
    plan.levels = makeLevels(plan.levelNames, error);
    if (!error.empty())
        throw CLI::ValidationError("--levels", error);
    engineOptions.chess960 = true; // games of both kinds may stand in a file; standard ones lose nothing
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
