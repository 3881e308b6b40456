#include "tuner/texelWorker.h"

#include <cstdint>
#include <limits>
#include <memory>
#include <system_error>
#include <vector>

#include "board/engineOptions.h"
#include "board/setup.h"
#include "platform/threadPlacement.h"
#include "tuner/tuningData.h"

namespace tarvonel
{

int tuningThreads = 1;

namespace
{

std::vector<std::unique_ptr<texelWorker>> texelWorkers;

} // namespace

tuningSlice sliceOf(std::size_t positions, int threads, int index)
{
    const std::size_t perThread = positions / static_cast<std::size_t>(threads);
    const std::size_t first = perThread * static_cast<std::size_t>(index);
    return {first, index == threads - 1 ? positions : first + perThread};
}

texelWorker::texelWorker(int workerIndex, const tunerOutput &print) : index(workerIndex)
{
    try
    {
        thread = std::thread(&texelWorker::idleLoop, this, std::cref(print));
    }
    catch (const std::system_error &)
    {
        idle = true; // the caller looks at isStarted
        return;
    }
    waitUntilIdle();
}

texelWorker::~texelWorker()
{
    if (!isStarted())
        return;
    waitUntilIdle();
    {
        const std::lock_guard guard(lock);
        quit = true;
        condition.notify_one();
    }
    thread.join();
}

// `print` lives until the constructor returns, which waits for the thread to be idle.
void texelWorker::idleLoop(const tunerOutput &print)
{
    bindThreadToNode(index, engineOptions.numaNode);
    print("Lets go\n");
    for (;;)
    {
        {
            std::unique_lock guard(lock);
            idle = true;
            condition.notify_one();
            condition.wait(guard, [this] { return !idle || quit; });
            if (quit)
                return;
        }
        computeError();
    }
}

void texelWorker::start()
{
    if (!isStarted())
        return computeError();
    const std::lock_guard guard(lock);
    idle = false;
    condition.notify_one();
}

void texelWorker::waitUntilIdle()
{
    std::unique_lock guard(lock);
    condition.wait(guard, [this] { return idle; });
}

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

void texelWorker::computeError()
{
    tables.clear(); // the terms may have changed since the last pass, the network between two runs
    const tuningSlice slice = sliceOf(tuningPositions.size(), tuningThreads, index);
    double sum = 0;
    for (std::size_t i = slice.first; i < slice.end; ++i)
    {
        const tuningPosition &record = tuningPositions[i];
        adopt(record);
        const int score = evaluateTunable(0, position);
        const double difference = record.label - winProbability(position.sideToMove == white ? score : -score);
        sum += difference * difference;
    }
    error = sum;
}

int createTexelWorkers(int count, const tunerOutput &print)
{
    texelWorkers.clear();
    while (static_cast<int>(texelWorkers.size()) < count)
    {
        auto next = std::make_unique<texelWorker>(static_cast<int>(texelWorkers.size()), print);
        const bool isStarted = next->isStarted();
        if (isStarted || texelWorkers.empty())
            texelWorkers.push_back(std::move(next));
        if (!isStarted)
            break;
    }
    tuningThreads = static_cast<int>(texelWorkers.size());
    return tuningThreads;
}

double meanError()
{
    if (tuningPositions.empty())
        return std::numeric_limits<double>::quiet_NaN();
    for (const auto &each : texelWorkers)
        each->start();
    double sum = 0;
    for (const auto &each : texelWorkers)
    {
        each->waitUntilIdle();
        sum += each->error;
    }
    return sum / static_cast<double>(tuningPositions.size());
}

} // namespace tarvonel
