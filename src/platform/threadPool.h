// A fork-join thread pool. The calling thread takes part as thread 0. Only one thread at a time may call.
// Tasks must not throw.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace tarvonel
{

class threadPool
{
  public:
    /// Starts `threadCount` - 1 threads, or as many as the system can create.
    explicit threadPool(int threadCount);
    ~threadPool();
    threadPool(const threadPool &) = delete;
    threadPool &operator=(const threadPool &) = delete;

    /// Number of threads, the caller included.
    int size() const { return static_cast<int>(threads.size()) + 1; }

    /// Runs `work(thread)` once on each thread, 0 to size() - 1, and returns when all have finished.
    void runOnAll(const std::function<void(int)> &work);

    /// Runs `work(index)` for each index below `count`. Threads take chunks of `chunk` indices in any order.
    void parallelFor(std::size_t count, std::size_t chunk, const std::function<void(std::size_t)> &work);

  private:
    void loop(int thread);

    std::mutex lock;
    std::condition_variable changed;
    const std::function<void(int)> *task = nullptr; ///< guarded by `lock`, as are the next three
    std::size_t round = 0;
    int running = 0;
    bool ending = false;
    std::vector<std::thread> threads;
};

} // namespace tarvonel
