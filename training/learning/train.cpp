// Trains the evaluation network on files of self-play games.

#include <algorithm>
#include <cinttypes>
#include <cstdio>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

#include "board/engineOptions.h"
#include "eval/networkFile.h"
#include "learning/laneOrder.h"
#include "learning/modelNetwork.h"
#include "learning/networkWriter.h"
#include "learning/trainingRun.h"
#include "learning/validation.h"
#include "platform/clock.h"
#include "programMain.h"

namespace tarvonel
{

namespace
{

constexpr std::int64_t progressInterval = 5000; ///< milliseconds

/// Accepts what `makeLevels` accepts.
CLI::Validator levelNames()
{
    const auto complaint = [](const std::string &names) -> std::string
    {
        try
        {
            makeLevels(names);
            return {};
        }
        catch (const std::exception &error)
        {
            return error.what();
        }
    };
    return {complaint, ""};
}

void declareOptions(CLI::App &app, trainingPlan &plan)
{
    const CLI::Validator share = numberFrom(0, 1);
    trainingSettings &settings = plan.settings;
    dataSettings &data = plan.data;
    targetSettings &target = data.target;
    app.add_option("games", plan.files, "game files to train on");
    app.add_option("--test", plan.testFiles, "file of games whose scores only measure the network; may be repeated")
        ->type_name("FILE")
        ->allow_extra_args(false);
    app.add_option("--out", plan.out, "network file, written after each epoch");
    CLI::Option *checkpoint = app.add_option("--checkpoint", plan.checkpoint,
                                             "file of weights and optimiser, written after each epoch and interrupt");
    CLI::Option *resume =
        app.add_flag("--resume", plan.resumes, "continue from the checkpoint if it exists")->needs(checkpoint);
    app.add_option("--from", plan.from, "start a new run from the weights of a checkpoint or network file")
        ->excludes(resume);
    app.add_option("--levels", plan.levelNames,
                   "first-layer rows are sums over these: base,region,relative,mirror,free")
        ->check(levelNames());
    app.add_option("--epochs", plan.epochs, "passes over the data; 0: measure only")->check(numberFrom(0, 100'000));
    app.add_option("--batch", plan.batch, "positions per step")->check(numberFrom(1, 1'000'000));
    app.add_option("--learning-rate", plan.learningRate, "learning rate after the warm-up")->check(numberFrom(1e-9, 1));
    app.add_option("--final-learning-rate", plan.finalLearningRate, "and at the end, along half a cosine")
        ->check(share);
    app.add_option("--warm-up", plan.warmUp, "steps over which the learning rate first rises from 0")
        ->check(numberFrom(0, 1e9));
    app.add_option("--weight-decay", settings.weightDecay,
                   "share of the weights, times the learning rate, that each step removes")
        ->check(numberFrom(0, 100));
    app.add_option("--epsilon", settings.epsilon,
                   "added to the root mean square gradient that divides each step; large values slow rare rows")
        ->check(share);
    app.add_option("--average", settings.averagedSteps,
                   "write and validate the mean of the weights over about this many last steps; 0: the last ones")
        ->check(numberFrom(0, 1e9));
    app.add_option("--free-share", settings.freeShare, "learning rate of the free rows, as a share of the others'")
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
    app.add_option("--l2-penalty", settings.l2Penalty,
                   "error for the square of each first-layer weight, without those of the first level")
        ->check(share);
    app.add_option("--game-share", data.gameShare,
                   "share of each game's positions that a pass trains on, chosen at random for each pass")
        ->check(numberFrom(0.001, 1));
    app.add_option("--mirror-share", plan.mirrorShare,
                   "share of the positions without castling rights that are mirrored")
        ->check(share);
    app.add_option("--score-scale", target.scoreScale, "centipawns of the target's sigmoid")
        ->check(numberFrom(1, 10'000));
    app.add_option("--positions", plan.capacity, "train on about the first N positions")->check(numberFrom(1, 4e9));
    app.add_option("--block", plan.block, "positions to hold in memory and shuffle at a time")
        ->check(numberFrom(1, 4e9));
    app.add_option("--validation", data.validationShare, "keep the games of one start in N for validation")
        ->check(numberFrom(2, 1e9));
    app.add_option("--first-ply", data.filter.firstPly, "leave out earlier plies of each game")
        ->check(numberFrom(0, 10'000));
    app.add_option("--max-balance", data.filter.maxBalance,
                   "leave out positions with more material and placement, centipawns")
        ->check(numberFrom(0, 32767));
    app.add_option("--max-score", data.filter.maxScore, "leave out larger scores, centipawns")
        ->check(numberFrom(0, 32767));
    app.add_option("--threads", plan.threads, "threads")->check(numberFrom(1, 256));
    app.add_option("--seed", plan.seed, "of initial weights and order")->check(numberFrom(0, 1e9));
}

/// All suitable positions of the test files, with their own scores as targets.
std::vector<trainingPosition> readTestPositions(trainingRun &run)
{
    dataSettings settings = run.plan.data;
    settings.validationShare = 1;
    settings.target = {.scoreScale = settings.target.scoreScale};
    trainingData data;
    openData(data, run.plan.testFiles, settings, 0, run.pool);
    std::vector<trainingPosition> positions = std::move(data.validation);
    closeData(data);
    std::printf("%zu positions to test on\n", positions.size());
    return positions;
}

void readData(trainingRun &run)
{
    const std::int64_t start = millisecondsNow();
    openData(run.data, run.plan.files, run.plan.data, run.plan.capacity, run.pool);
    const trainingData &data = run.data;
    std::printf("%" PRIu64 " positions to train on in a pass, %zu for validation, of %" PRIu64 " in %" PRIu64
                " games (%.1f s)\n",
                data.passPositions, data.validation.size(), data.positions, data.games,
                static_cast<double>(millisecondsNow() - start) / 1000);
    if (data.damagedBytes > 0 || data.badGames > 0)
        std::printf("skipped: %" PRIu64 " damaged bytes, %" PRIu64 " games with illegal moves or positions\n",
                    data.damagedBytes, data.badGames);
    std::fflush(stdout);
    if (!run.plan.testFiles.empty())
        run.testPositions = readTestPositions(run);
    if (data.passPositions == 0 && run.plan.epochs > 0)
        throw std::runtime_error("no positions to train on");
}

/// Gives the new model the weights of a checkpoint or network file.
void startFrom(trainerModel &model, const trainingPlan &plan)
{
    if (isCheckpoint(plan.from))
    {
        trainerModel other;
        loadCheckpoint(other, plan.from);
        copyWeights(model, other);
        return;
    }
    const auto network = std::make_unique<networkWeights>();
    if (!readWeightsFile(plan.from, *network))
        throw std::runtime_error(plan.from + " is neither a checkpoint nor a network file");
    std::printf("--levels %s: hold %.2f%% of the network's first layer\n", plan.levelNames.c_str(),
                100 * importNetwork(model, *network));
}

void prepareModel(trainingRun &run)
{
    const trainingPlan &plan = run.plan;
    if (plan.resumes && std::filesystem::exists(plan.checkpoint))
    {
        run.progress = loadCheckpoint(run.model, plan.checkpoint);
        std::printf("resuming after %" PRIu64 " epochs and %" PRIu64 " positions\n", run.progress.epoch,
                    run.progress.positions);
        return;
    }
    run.progress = {0, 0, plan.seed};
    initialiseModel(run.model, makeLevels(plan.levelNames), plan.seed);
    if (!plan.from.empty())
        startFrom(run.model, plan);
}

/// Prints a line every few seconds and at the end of an epoch.
struct progressPrinter
{
    double error = 0; ///< sums since the last line
    std::uint64_t positions = 0;
    std::int64_t lastLine = millisecondsNow();

    void add(const trainingRun &run, const batchReport &batch)
    {
        error += batch.error;
        positions += batch.positions;
        const std::int64_t now = millisecondsNow();
        const bool isLast = run.progress.positions >= run.data.passPositions;
        if (now - lastLine < progressInterval && !isLast)
            return;
        std::printf(
            "epoch %" PRIu64 "  %5.1f%%  error %.6f  learning rate %.6f  %.0f positions/s\n", run.progress.epoch + 1,
            100 * static_cast<double>(run.progress.positions) / static_cast<double>(run.data.passPositions),
            error / static_cast<double>(positions), batch.learningRate,
            static_cast<double>(positions) * 1000 / static_cast<double>(std::max<std::int64_t>(now - lastLine, 1)));
        std::fflush(stdout);
        *this = {0, 0, now};
    }
};

/// Validates the model and, once it has been trained, writes network and checkpoint.
void validateAndSave(trainingRun &run, const std::string &when)
{
    const trainingPlan &plan = run.plan;
    const bool isAveraged = plan.settings.averagedSteps > 0 && run.model.steps > 0;
    const trainerModel averaged = isAveraged ? averagedModel(run.model) : trainerModel{};
    const trainerModel &model = isAveraged ? averaged : run.model;
    const validationResult result = validateModel(model, run.pool, run.data.validation, plan.settings);
    if (!run.data.validation.empty() || run.testPositions.empty())
        std::printf("%s: validation error %.6f\n%s%s", when.c_str(), result.error, phaseText(result).c_str(),
                    healthText(result).c_str());
    if (!run.testPositions.empty())
    {
        const validationResult test = validateModel(model, run.pool, run.testPositions, plan.settings);
        std::printf("%s: test error %.6f\n%s", when.c_str(), test.error, phaseText(test).c_str());
    }
    std::fflush(stdout);
    if (run.model.steps == 0)
        return;
    const auto weights = std::make_unique<networkWeights>();
    quantiseModel(model, *weights);
    orderLanes(*weights, chunkedLanes(result.samples));
    writeNetwork(plan.out, *weights, "trained on the engine's own games");
    if (!plan.checkpoint.empty())
        saveCheckpoint(run.model, run.progress, plan.checkpoint);
}

/// One pass over the data, or the rest of one. What was trained is saved however it ends.
void runEpoch(trainingRun &run)
{
    const std::string number = std::to_string(run.progress.epoch + 1);
    progressPrinter printer;
    const auto afterBatch = [&](const batchReport &batch)
    {
        printer.add(run, batch);
        return !interrupted;
    };
    try
    {
        const bool isFinished = trainEpoch(run, afterBatch);
        validateAndSave(run, (isFinished ? "after epoch " : "interrupted in epoch ") + number);
    }
    catch (const gameFileChanged &)
    {
        validateAndSave(run, "stopped in epoch " + number);
        throw;
    }
}

int train(trainingPlan &plan)
{
    engineOptions.chess960 = true; // files may hold games of both kinds; standard ones are not affected
    plan.settings.scoreScale = plan.data.target.scoreScale;
    watchForInterrupts();
    trainingRun run(plan);
    prepareModel(run);
    readData(run);
    if (run.model.steps == 0)
        validateAndSave(run, "before");
    while (run.progress.epoch < plan.epochs && !interrupted)
        runEpoch(run);
    closeData(run.data);
    return 0;
}

} // namespace

} // namespace tarvonel

int main(int argc, char **argv)
{
    tarvonel::trainingPlan plan;
    plan.threads = tarvonel::coreCount();
    return tarvonel::programMain(
        argc, argv, "Trains a network on files of games.", [&](CLI::App &app) { tarvonel::declareOptions(app, plan); },
        [&] { return tarvonel::train(plan); });
}
