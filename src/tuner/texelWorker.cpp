#include "tuner/texelWorker.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <new>
#include <vector>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "eval/evaluate.h"
#include "platform/threadPlacement.h"
#include "platform/threadPool.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

namespace
{

/// What one thread writes during a pass.
struct texelWorker
{
    pos position{};
    evaluationTables tables;
    double error = 0; ///< sum of the squared errors of the slice

    void computeError(std::size_t first, std::size_t end);
    void adopt(const tuningPosition &record);
};

std::unique_ptr<threadPool> texelPool;
std::vector<std::unique_ptr<texelWorker>> texelWorkers; ///< one for each thread of the pool

void texelWorker::adopt(const tuningPosition &record)
{
    static_cast<posHead &>(position) = record.head;
    tables.attachTo(position);
    position.accumulatorBlocks[0].computed = false;
    position.info[0].castling = record.castling;
    position.info[0].enPassant = static_cast<std::int8_t>(record.enPassant);
    position.info[0].inCheck = record.inCheck;
    refreshSums(position);
}

void texelWorker::computeError(std::size_t first, std::size_t end)
{
    tables.clear(); // the terms may have changed since the last pass, the network between two runs
    double sum = 0;
    for (std::size_t i = first; i < end; ++i)
    {
        const tuningPosition &record = tuningPositions[i];
        adopt(record);
        const int score = evaluateTunable(0, position);
        const double difference = record.label - winProbability(position.sideToMove == white ? score : -score);
        sum += difference * difference;
    }
    error = sum;
}

} // namespace

int createTexelWorkers(int count, const tunerOutput &print)
{
    texelWorkers.clear();
    texelPool.reset();

    for (int worker = 0; worker < count; ++worker)
        if (auto *const created = new (std::nothrow) texelWorker; created != nullptr)
            texelWorkers.emplace_back(created);
    if (texelWorkers.empty())
        return 0;
    texelPool = std::make_unique<threadPool>(static_cast<int>(texelWorkers.size()));
    texelWorkers.resize(static_cast<std::size_t>(texelPool->size()));

    // The console thread stays where the system puts it: it outlives the run.
    texelPool->runOnAll(
        [](int thread)
        {
            if (thread > 0)
                bindThreadToNode(thread, engineOptions.numaNode);
        });
    for (std::size_t worker = 0; worker < texelWorkers.size(); ++worker)
        print("Lets go\n");
    return texelPool->size();
}

double meanError()
{
    const std::size_t count = tuningPositions.size();
    const std::size_t share = count / texelWorkers.size(); // the last thread takes the remainder too
    texelPool->runOnAll(
        [&](int thread)
        {
            const std::size_t first = share * static_cast<std::size_t>(thread);
            const bool isLast = thread + 1 == texelPool->size();
            texelWorkers[static_cast<std::size_t>(thread)]->computeError(first, isLast ? count : first + share);
        });

    double sum = 0; // in the order of the threads, so that it does not hang on their timing
    for (const auto &each : texelWorkers)
        sum += each->error;
    return sum / static_cast<double>(count);
}

} // namespace tarvonel
