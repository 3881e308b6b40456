// The search threads: one `worker` per thread. The first one is the `boss`, which also starts the
// others and reports the result.
//
// During a search a thread writes only to its own worker, to the transposition table and to the flags
// below. A worker's lock guards its `searching` and `exiting` only; it is not held during a search, and
// no thread holds two of them.
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

inline relaxed<bool> stopSearch{false}; ///< all search threads return as soon as they see it
inline relaxed<bool> pondering{false};  ///< the clock is not running yet
inline relaxed<bool> timeIsUp{false};   ///< the time for the move is used up: a `ponderhit` stops
inline relaxed<int> deepestTimed{0};    ///< deepest iteration after which a thread has decided on time

class alignas(64) worker : public searchBoard
{
  public:
    explicit worker(int index) : threadIndex(index) {}
    virtual ~worker();
    worker(const worker &) = delete;
    worker &operator=(const worker &) = delete;

    // Each worker is one block on large pages.
    static void *operator new(std::size_t bytes, std::align_val_t alignment);
    static void operator delete(void *block, std::size_t bytes, std::align_val_t alignment);

    /// Starts the thread, which is idle when this returns. False if the system cannot create one.
    bool start();
    bool isStarted() const { return thread.joinable(); }

    /// The search of this thread, from the position in `position`. Called by the thread's loop.
    virtual void search();

    /// Starts the search of the thread, which must exist and be idle.
    void wake();
    /// Returns when the thread is idle.
    void waitForSearchEnd();
    bool isSearching();

    const int threadIndex;
    moveCode firstRootMove = noMove; ///< any legal move at the root, if there is one
    relaxed<int> currentDepth{0};    ///< last iteration started; read by the other workers

  private:
    void idleLoop();

    std::mutex lock;
    std::condition_variable condition;
    bool exiting = false;
    bool searching = false;
    std::thread thread;
};

/// The result of a search.
struct searchResult
{
    moveCode best = noMove;   ///< `noMove` if there is no legal move
    moveCode ponder = noMove; ///< the expected reply, if any
    int score = 0;            ///< of the last finished iteration, for the side to move; 0 if there is none
    int depth = 0;            ///< of that iteration
    std::uint64_t nodes = 0;  ///< of both kinds and all threads
};

class boss final : public worker
{
  public:
    boss() : worker(0) {}
    void search() override;

    /// Sets `result` and reports it: the best move of `found`, the position of the chosen thread, and the
    /// reply from its variation, or from the last reported one if that begins with the same move.
    void answer(const pos &found);

    moveCode bestSoFar = noMove; ///< first two moves of the last reported variation
    moveCode ponderSoFar = noMove;
    searchResult result; ///< of the last search
};

/// Element 0 is the boss; element i has threadIndex i. Changed only between searches.
extern std::vector<std::unique_ptr<worker>> workerPool;

boss &theBoss();

/// The worker whose move is played, once all are idle. Deeper results count more, finished iterations
/// more than unfinished ones, and a winning mate overrides both. With one thread or a depth limit it
/// is always the boss.
worker &chooseBestThread();

/// Alpha-beta and quiescence nodes of one thread.
inline std::uint64_t nodesOf(const pos &position) { return position.searchNodes + position.quiescenceNodes; }

/// Figures over all workers, as reports print them. Counters of running workers may lag.
struct searchTotals
{
    std::uint64_t nodes = 0; ///< alpha-beta and quiescence nodes
    std::uint64_t tablebaseHits = 0;
    std::uint64_t elapsedMs = 0; ///< at least 1; raises searchLimits.elapsedMs from 0
    std::uint64_t nodesPerSecond = 0;
};
searchTotals sumUpSearch();

/// Waits for a running search, destroys all workers and creates `count` new ones; 0 ends all
/// threads. Returns the number of workers for which there was memory and a thread, the boss included.
/// Throws bad_alloc only where there is no memory for the first boss: an existing one is renewed in
/// place, so that a pool is never lost.
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

/// Clears the continuation histories of all workers, for a new game.
void clearWorkerHistory();

/// Clears the evaluation caches of all workers. No search may run.
void clearEvaluationCaches();

bool isSearchRunning();
void waitForSearch();

/// Copies `root` to all workers and starts the boss, which must be idle, with the limits in
/// `searchLimits`. Returns at once; the result comes through the `reporter`. If the boss has no thread
/// of its own, it searches on the caller's, and this returns after the result.
void startSearch(const pos &root);

/// The search as a function, for programs without a UCI loop: searches `root` on the caller's thread,
/// which takes the place of the boss's, and on those of the other workers. `limits` become
/// `searchLimits`, with the clock started now. The boss must be idle. With depth and node limits only,
/// one thread and fresh tables, the result depends on the position alone.
searchResult runSearch(const pos &root, const searchLimitValues &limits);

} // namespace tarvonel
