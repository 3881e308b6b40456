// A fixed set of threads that do a piece of work together: all are woken, work and are waited for.
//
// The thread that calls works along as number 0, so that a crew always has at least one. One thread
// at a time may call.
#pragma once

#include <atomic>
#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarvonel
{

class workCrew
{
  public:
    /// Starts `threadCount` - 1 threads, or as many of them as the system grants.
    explicit workCrew(int threadCount);
    ~workCrew();
    workCrew(const workCrew &) = delete;
    workCrew &operator=(const workCrew &) = delete;

    /// Number of threads that work, the caller's included.
    int size() const { return static_cast<int>(threads.size()) + 1; }

    /// Runs `work(thread)` once for each thread number from 0 on, the caller's thread being 0, and
    /// returns when all are done.
    void runOnAll(const std::function<void(int)> &work);

    /// Runs `work(index)` for each index below `count`, in chunks, in no order.
    void share(std::size_t count, std::size_t chunk, const std::function<void(std::size_t)> &work);

  private:
    void loop(int thread);

    std::mutex lock;
    std::condition_variable changed;
    const std::function<void(int)> *task = nullptr; ///< guarded, as are those below
    std::size_t round = 0;
    int running = 0;
    bool ending = false;
    std::vector<std::thread> threads;
};

} // namespace tarvonel
