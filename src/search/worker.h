// The search threads: one `worker` record per thread, the first of them the `boss`, which also
// drives the others and answers.
//
// All that a thread writes during a search lies in its own record, but for the transposition table
// and the flags below. A worker's lock guards its `searching` and `exiting` alone and is not held
// during a search; nobody holds two of them.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "platform/relaxed.h"
#include "search/searchBoard.h"
#include "search/searchLimits.h"

namespace tarvonel
{

inline relaxed<bool> stopSearch{false}; ///< every search thread leaves as soon as it sees it
inline relaxed<bool> pondering{false};  ///< the clock does not count yet
inline relaxed<bool> timeIsUp{false};   ///< the time decision has fallen; a `ponderhit` then stops
inline relaxed<int> deepestTimed{0};    ///< deepest iteration for which a thread has decided on time

class alignas(64) worker : public searchBoard
{
  public:
    explicit worker(int index) : threadIndex(index) {}
    virtual ~worker();
    worker(const worker &) = delete;
    worker &operator=(const worker &) = delete;

    // One block of large pages holds it all.
    static void *operator new(std::size_t bytes, std::align_val_t alignment);
    static void operator delete(void *block, std::size_t bytes, std::align_val_t alignment);

    /// Starts the thread, which is idle when this returns. False if the system grants none.
    bool start();
    bool isStarted() const { return thread.joinable(); }

    /// The search of this thread, from the position in `position`. Called by the thread's loop.
    virtual void search();

    /// Sets the thread to its search. There must be one, and it must be idle.
    void wake();
    /// Returns when the thread is idle.
    void waitForSearchEnd();
    bool isSearching();

    const int threadIndex;
    moveCode firstRootMove = noMove; ///< any legal move at the root, if there is one
    relaxed<int> currentDepth{0};    ///< iteration started last; other workers look at it

  private:
    void idleLoop();

    std::mutex lock;
    std::condition_variable condition;
    bool exiting = false;
    bool searching = false;
    std::thread thread;
};

/// What a search found.
struct searchResult
{
    moveCode best = noMove;   ///< any legal move if nothing better is known, `noMove` if there is none
    moveCode ponder = noMove; ///< the reply expected, if any
    int score = 0;            ///< of the last whole iteration, from the side to move's view; 0 if there was none
    int depth = 0;            ///< of that iteration
    std::uint64_t nodes = 0;  ///< of both kinds and all threads
};

class boss final : public worker
{
  public:
    boss() : worker(0) {}
    void search() override;

    moveCode bestSoFar = noMove; ///< first two moves of the last reported variation
    moveCode ponderSoFar = noMove;
    searchResult result; ///< of the last search that has ended
};

/// Element 0 is the boss; element i has threadIndex i. Changed only between searches.
extern std::vector<std::unique_ptr<worker>> workerPool;

boss &theBoss();

/// Waits for a running search, destroys all workers and creates `count` new ones; 0 ends all
/// threads. Returns the number of workers that the system granted, the boss included.
int rebuildWorkerPool(int count);

/// The transposition table and the workers of a program, from construction to destruction. One at a
/// time; what they hold in between may be resized as above.
struct searchResources
{
    searchResources(int threads, int hashMegabytes);
    ~searchResources();
    searchResources(const searchResources &) = delete;
    searchResources &operator=(const searchResources &) = delete;
};

/// Forgets the continuation histories of all workers, for a new game.
void clearWorkerHistory();

/// Empties the evaluation caches of all workers. No search may run.
void clearEvaluationCaches();

bool isSearchRunning();
void waitForSearch();

/// Hands `root` to all workers and wakes the boss, with the limits in `searchLimits`. The boss
/// must be idle. Returns at once; the answer comes through the `reporter`. A boss for which no
/// thread could be had searches on the caller's, and this returns when it has answered.
void startSearch(const pos &root);

/// The search as a function, for programs that are no console: searches `root` on the caller's
/// thread, in the place of the boss's, and those of the other workers, within `limits`, which
/// become `searchLimits` with the clock started now. The boss must be idle. With no limit but
/// depth and nodes, one thread and fresh tables the result depends on the position alone.
searchResult runSearch(const pos &root, const searchLimitValues &limits);

} // namespace tarvonel
