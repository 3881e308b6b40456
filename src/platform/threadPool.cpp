#include "platform/threadPool.h"

#include <algorithm>
#include <atomic>
#include <exception>

namespace tarvonel
{

threadPool::threadPool(int threadCount)
{
    threads.reserve(static_cast<std::size_t>(threadCount));
    try
    {
        while (size() < threadCount)
            threads.emplace_back(&threadPool::loop, this, size());
    }
    catch (const std::exception &)
    {
        return; // no thread or no memory: the pool stays smaller
    }
}

threadPool::~threadPool()
{
    {
        const std::lock_guard guard(lock);
        ending = true;
    }
    changed.notify_all();
    for (std::thread &thread : threads)
        thread.join();
}

void threadPool::runOnAll(const std::function<void(int)> &work)
{
    {
        const std::lock_guard guard(lock);
        task = &work;
        running = static_cast<int>(threads.size());
        ++round;
    }
    changed.notify_all();
    work(0);
    std::unique_lock guard(lock);
    changed.wait(guard, [&] { return running == 0; });
}

void threadPool::parallelFor(std::size_t count, std::size_t chunk, const std::function<void(std::size_t)> &work)
{
    std::atomic<std::size_t> next{0};
    runOnAll(
        [&](int)
        {
            for (std::size_t first = next.fetch_add(chunk); first < count; first = next.fetch_add(chunk))
                for (std::size_t i = first; i < std::min(first + chunk, count); ++i)
                    work(i);
        });
}

void threadPool::loop(int thread)
{
    for (std::size_t done = 0;;)
    {
        const std::function<void(int)> *work = nullptr;
        {
            std::unique_lock guard(lock);
            changed.wait(guard, [&] { return ending || round != done; });
            if (ending)
                return;
            done = round;
            work = task;
        }
        (*work)(thread);
        const std::lock_guard guard(lock);
        --running;
        changed.notify_all();
    }
}

} // namespace tarvonel
