// Learns the evaluation network from files of self-played games.

#include <algorithm>
#include <atomic>
#include <cmath>
#include <csignal>
#include <cstdio>
#include <filesystem>
#include <numbers>
#include <random>
#include <string>
#include <vector>

#include "board/attackTables.h"
#include "board/engineOptions.h"
#include "commandLine.h"
#include "eval/networkFile.h"
#include "learning/modelNetwork.h"
#include "learning/trainerStep.h"
#include "platform/clock.h"

namespace tarvonel
{

namespace
{

const programOption trainOptions[] = {
    {"--out", "FILE", "the network file, written after each epoch (network.nnue)"},
    {"--checkpoint", "FILE", "weights and optimiser, written after each epoch and on an interrupt"},
    {"--resume", "", "goes on from the checkpoint, if it is there"},
    {"--from", "FILE", "starts a new run from the weights of a checkpoint or a network file"},
    {"--levels", "NAMES", "what rows are sums of: base,region,mirror,free (base,region)"},
    {"--epochs", "N", "passes over the data (2)"},
    {"--batch", "N", "positions for each step (8192)"},
    {"--rate", "X", "learning rate at the start (0.001)"},
    {"--final-rate", "X", "and at the end, along half a cosine (0.00002)"},
    {"--free-share", "X", "rate of the free rows, as a share of the others' (0.5)"},
    {"--result-share", "X", "weight of the game's result in the target, 0 to 1 (0)"},
    {"--activation-price", "X", "error for each unit of first-layer activation, for a faster engine (0)"},
    {"--mirror-share", "X", "share of positions without castling rights to be shown mirrored (0.5)"},
    {"--score-scale", "X", "centipawns of the target's sigmoid (250)"},
    {"--positions", "N", "learns from at most so many (200000000)"},
    {"--validation", "N", "keeps the games of one start in so many for validation (50)"},
    {"--first-ply", "N", "leaves out earlier plies of games (16)"},
    {"--widest-balance", "N", "leaves out larger material and placement, centipawns (550)"},
    {"--highest-score", "N", "leaves out larger scores, centipawns (3000)"},
    {"--threads", "N", "threads (all of the machine's)"},
    {"--seed", "N", "of first weights and order (1)"},
    {"--help", "", "this text"},
};

constexpr std::int64_t progressInterval = 5000; ///< milliseconds

struct trainingPlan
{
    std::vector<std::string> files;
    std::string out;
    std::string checkpoint;
    std::string from;
    std::vector<featureLevel> levels;
    dataFilter filter;
    learningSettings settings;
    double firstRate = 0;
    double finalRate = 0;
    double mirrorShare = 0;
    std::size_t capacity = 0;
    std::size_t batch = 0;
    std::uint64_t epochs = 0;
    std::uint64_t seed = 0;
    int threads = 1;
    bool resumes = false;
};

std::atomic<bool> interrupted{false};

void onInterrupt(int /*signal*/) { interrupted = true; }

trainingPlan readPlan(commandLine &given)
{
    trainingPlan plan;
    plan.files = given.files;
    plan.out = textOption(given, "--out", "network.nnue");
    plan.checkpoint = textOption(given, "--checkpoint", "");
    plan.from = textOption(given, "--from", "");
    plan.resumes = isGiven(given, "--resume");
    plan.epochs = static_cast<std::uint64_t>(numberOption(given, "--epochs", 2, 1, 100000));
    plan.batch = static_cast<std::size_t>(numberOption(given, "--batch", 8192, 1, 1000000));
    plan.capacity = static_cast<std::size_t>(numberOption(given, "--positions", 200000000, 1, 4000000000));
    plan.seed = static_cast<std::uint64_t>(numberOption(given, "--seed", 1, 0, 1000000000));
    const int cores = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 1U, 256U));
    plan.threads = static_cast<int>(numberOption(given, "--threads", cores, 1, 256));
    plan.firstRate = realOption(given, "--rate", 0.001, 1e-9, 1);
    plan.finalRate = realOption(given, "--final-rate", 0.00002, 0, 1);
    plan.mirrorShare = realOption(given, "--mirror-share", 0.5, 0, 1);
    plan.settings.freeShare = realOption(given, "--free-share", plan.settings.freeShare, 0, 10);
    plan.settings.resultShare = realOption(given, "--result-share", plan.settings.resultShare, 0, 1);
    plan.settings.activationPrice = realOption(given, "--activation-price", plan.settings.activationPrice, 0, 1);
    plan.settings.scoreScale = realOption(given, "--score-scale", plan.settings.scoreScale, 1, 10000);
    plan.filter.validationShare = static_cast<int>(numberOption(given, "--validation", 50, 2, 1000000000));
    plan.filter.firstPly = static_cast<int>(numberOption(given, "--first-ply", 16, 0, 10000));
    plan.filter.widestBalance = static_cast<int>(numberOption(given, "--widest-balance", 550, 0, 32767));
    plan.filter.highestScore = static_cast<int>(numberOption(given, "--highest-score", 3000, 0, 32767));
    std::string error;
    plan.levels = makeLevels(textOption(given, "--levels", "base,region"), error);
    if (given.error.empty())
    {
        given.error = !error.empty()                            ? error
                      : plan.files.empty()                      ? "no game files named"
                      : plan.resumes && plan.checkpoint.empty() ? "--resume needs --checkpoint"
                      : plan.resumes && !plan.from.empty()      ? "--resume and --from exclude each other"
                                                                : "";
    }
    return plan;
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

int trainMain(int wordCount, char **words)
{
    commandLine given = readCommandLine(wordCount, words, trainOptions);
    if (isGiven(given, "--help") || wordCount == 1)
    {
        std::printf(
            "%s", usageText("train [options] GAMES...", "Learns a network from files of games.", trainOptions).c_str());
        return 0;
    }
    const trainingPlan plan = readPlan(given);
    if (!given.error.empty())
    {
        std::fprintf(stderr, "train: %s\n", given.error.c_str());
        return 2;
    }
    initTables();
    engineOptions.chess960 = true; // games of both kinds may stand in a file; standard ones lose nothing
    std::signal(SIGINT, onInterrupt);
    std::signal(SIGTERM, onInterrupt);
    const std::string error = learn(plan);
    if (!error.empty())
    {
        std::fprintf(stderr, "train: %s\n", error.c_str());
        return 1;
    }
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv) { return tarvonel::trainMain(argc, argv); }
