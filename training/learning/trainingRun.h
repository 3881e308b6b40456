// A training run: passes over the data in random order, batch by batch, resumable at any batch.
//
// The order of the positions, their choice and their mirroring depend on the seed and on the place in
// the run alone, so a resumed run computes what the uninterrupted one would have.
#pragma once

#include <cstdint>
#include <functional>
#include <string>
#include <vector>

#include "learning/trainerStep.h"

namespace tarvonel
{

struct trainingPlan
{
    std::vector<std::string> files;
    std::vector<std::string> testFiles; ///< of games that are measured on and not trained on
    std::string out = "network.nnue";
    std::string checkpoint;
    std::string from;
    std::string levelNames = "base,region";
    dataSettings data;
    trainingSettings settings;
    double learningRate = 0.001;
    double finalLearningRate = 0.00002;
    double warmUp = 200;      ///< steps
    double mirrorShare = 0.5; ///< of the positions that equal their mirror image in value
    std::uint64_t capacity = 4'000'000'000;
    std::size_t block = 100'000'000; ///< positions in memory at a time
    std::size_t batch = 2048;
    std::uint64_t epochs = 2;
    std::uint64_t seed = 1;
    int threads = 1;
    bool resumes = false;
};

struct trainingRun
{
    const trainingPlan &plan;
    threadPool pool;
    trainingData data;
    std::vector<trainingPosition> testPositions;
    trainerModel model;
    checkpointProgress progress;
    workspacePointer workspace = makeWorkspace();
    std::vector<trainingPosition> positions; ///< of the current block

    explicit trainingRun(const trainingPlan &settings) : plan(settings), pool(settings.threads) {}
};

struct batchReport
{
    double error = 0; ///< sum of the squares
    std::size_t positions = 0;
    double learningRate = 0;
};

/// Trains until the end of the current pass, from wherever `progress` is in it. Stops earlier once
/// `afterBatch` returns false, and then returns false. Throws std::runtime_error if a file no longer
/// holds the games that `openData` found.
bool trainEpoch(trainingRun &run, const std::function<bool(const batchReport &)> &afterBatch);

} // namespace tarvonel
