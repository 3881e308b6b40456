// The threads that measure how far the evaluation is from the labels of the tuning positions.
//
// Each has a slice of the positions and everything that it writes. The console thread changes
// positions, terms and `tuningK` only while all of them are idle; `meanError` is the barrier.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <mutex>
#include <thread>

#include "board/pos.h"
#include "eval/evaluationTables.h"
#include "tuner/tunerOutput.h"

namespace tarvonel
{

struct tuningPosition;

/// Number of `texelWorker`s that share the positions out among themselves.
extern int tuningThreads;

/// The positions from `first` up to but not including `end`.
struct tuningSlice
{
    std::size_t first;
    std::size_t end;
};

/// Equal slices of `positions`, but for the last of the `threads`, which takes the remainder too.
tuningSlice sliceOf(std::size_t positions, int threads, int index);

class texelWorker
{
  public:
    /// Returns when the thread has announced itself by `print` and is idle.
    texelWorker(int index, const tunerOutput &print);
    /// Waits for a running pass.
    ~texelWorker();
    texelWorker(const texelWorker &) = delete;
    texelWorker &operator=(const texelWorker &) = delete;

    /// Whether the system granted the thread. Without one, passes run on the caller's.
    bool isStarted() const { return thread.joinable(); }

    /// Starts a pass over this worker's slice. It must be idle.
    void start();
    /// Returns when the thread is idle; only then `error` may be read.
    void waitUntilIdle();

    double error = 0; ///< sum of the squared errors of the slice

  private:
    void idleLoop(const tunerOutput &print);
    void computeError();
    void adopt(const tuningPosition &record);

    pos position{};
    evaluationTables tables;
    const int index;
    std::mutex lock; ///< guards the two flags
    std::condition_variable condition;
    bool quit = false;
    bool idle = false;
    std::thread thread;
};

/// Replaces all workers by `count` new ones, each of which prints the line "Lets go" when its
/// thread starts. Returns the number that the system granted, which is at least 1 unless `count`
/// is 0.
int createTexelWorkers(int count, const tunerOutput &print);

/// The mean squared error of the evaluation by the present values of `tunableTerms` and `tuningK`.
/// Not a number when there are no positions.
double meanError();

} // namespace tarvonel
