#include "tuner/optimiser.h"

#include <cstdint>
#include <memory>
#include <new>

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

/// The data that a thread writes during a pass.
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
    tables.clear(); // terms or network may have changed since the last pass
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

constexpr int sweeps = 5;
constexpr double refinement = 10; ///< steps of a sweep in one step of the sweep before
constexpr double errorBeyondAll = 99999999999.0;

/// Changes the parameter. Returns whether that lowers the error, and updates `best` if so.
bool lowersError(const parameterList &parameters, std::size_t index, int amount, double &best)
{
    applyStep(parameters, index, amount);
    const double error = meanError();
    if (!(error < best))
        return false;
    best = error;
    return true;
}

/// Tries smaller and smaller steps, up first. The next pass starts with the step size that helped. The
/// smallest is tried only by a parameter that starts there.
bool improve(parameterList &parameters, std::size_t index, double &best)
{
    tuningParameter &parameter = parameters[index];
    do
    {
        const int step = tuningSteps[parameter.stepIndex];
        if (lowersError(parameters, index, step, best) || lowersError(parameters, index, -2 * step, best))
            return true;
        applyStep(parameters, index, step);
        if (parameter.stepIndex > 0)
            --parameter.stepIndex;
    } while (parameter.stepIndex > 0);
    return false;
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

    // The calling thread stays unbound, because it outlives the run.
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

    double sum = 0; // in the order of the threads, so that the result does not depend on timing
    for (const auto &each : texelWorkers)
        sum += each->error;
    return sum / static_cast<double>(count);
}

double findK(const tunerOutput &print)
{
    double best = 1.0;
    double step = 1.0;
    double lowest = errorBeyondAll;
    for (int sweep = 0; sweep < sweeps; ++sweep)
    {
        for (double k = best - step; k <= best + step; k += step / refinement)
        {
            tuningK = k;
            const double error = meanError();
            print(lineOf("Trying the following K value ", k, " error: ", error));
            if (error < lowest)
            {
                lowest = error;
                best = k;
            }
        }
        step /= refinement;
    }
    print(lineOf(" Optimal K calculated : ", best));
    return best;
}

void optimise(parameterList &parameters, const tunerOutput &print)
{
    double best = meanError();
    print(lineOf("Starting error ", best));
    bool improved = true;
    for (int pass = 1; improved; ++pass)
    {
        improved = false;
        for (std::size_t index = 0; index < parameters.size(); ++index)
        {
            if (!improve(parameters, index, best))
                continue;
            improved = true;
            const tuningParameter &parameter = parameters[index];
            print(lineOf("Min error ", best, " parameter ", index, " ", parameter.name, " stepsize ",
                         parameter.stepIndex));
        }
        print(lineOf("\n Improving: ", pass));
        if (pass % 2 == 0)
            printParameters(parameters, print);
    }
    print(lineOf("Ending error ", meanError(), " Minimum error ", best));
}

bool texel(int threads, pos &position, const tunerOutput &print, parameterRegistration enter)
{
    if (!loadTuningPositions(position, print))
        return false;
    const int started = createTexelWorkers(threads, print);
    if (started < threads)
        print(lineOf("info string Only ", started, " threads could be started"));
    if (started == 0)
        return false;
    print("Starting texel tuning....\n");

    parameterList parameters;
    enter(parameters);
    tuningK = findK(print);
    writeMirrorImages(parameters);
    printParameters(parameters, print);
    optimise(parameters, print);
    printParameters(parameters, print);
    return true;
}

} // namespace tarvonel
