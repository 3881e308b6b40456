// The search threads: one `worker` per thread, with all the data that its search works on. The first one
// is the `boss`, which also starts the others and reports the result.
//
// During a search a thread writes only to its own worker, to the transposition table and to the flags
// below. A worker's lock guards only `searching` and `exiting`. It is not held during a search, and no
// thread holds two locks.
#pragma once

#include <algorithm>
#include <condition_variable>
#include <cstdint>
#include <memory>
#include <mutex>
#include <new>
#include <thread>
#include <vector>

#include "board/pos.h"
#include "eval/evaluate.h"
#include "platform/relaxed.h"
#include "search/searchLimits.h"

namespace tarvonel
{

inline relaxed<bool> stopSearch{false}; ///< all search threads return as soon as they see it
inline relaxed<bool> pondering{false};  ///< the clock is not running yet
inline relaxed<bool> timeIsUp{false};   ///< the time for the move is used up: a `ponderhit` stops the search
inline relaxed<int> deepestTimed{0};    ///< deepest iteration after which a thread has decided on time

/// What a thread keeps between searches.
struct searchTables : evaluationTables
{
    /// Attaches the tables to the position; they must outlive its use.
    void attachTo(pos &position)
    {
        evaluationTables::attachTo(position);
        position.contHistoryTwoBack = contHistoryTwoBack;
        position.contHistoryOneBack = contHistoryOneBack;
        position.quietScores = quietScores;
    }

    void clearHistory()
    {
        for (auto *history : {&contHistoryTwoBack, &contHistoryOneBack})
            for (auto &row : *history)
                std::ranges::fill(row, std::int16_t{0});
    }

    std::int16_t contHistoryTwoBack[historyRows][historyRows]{};
    std::int16_t contHistoryOneBack[historyRows][historyRows]{};
    std::int32_t quietScores[moveStackCapacity]{}; ///< the move picker's scores, parallel to the move stack
};

struct searchBoard : posWithMoves
{
    searchBoard() { tables.attachTo(position); }

    /// Copies the valid part of a position at ply 0, without its tables. A search writes the deeper plies
    /// and the accumulators, most of the record, before it reads them.
    void adopt(const pos &root)
    {
        static_cast<posHead &>(position) = root;
        position.accumulatorBlocks[0].computed = false;
        position.info[0] = root.info[0];
        position.info[0].listStart = firstMove();
        std::copy_n(root.keyHistory, root.keyCount, position.keyHistory);
        std::ranges::copy(root.quietHistory, position.quietHistory);
        std::ranges::copy(root.counterMoves, position.counterMoves);
        tables.attachTo(position);
    }

    searchTables tables;
};

class alignas(64) worker : public searchBoard
{
  public:
    explicit worker(int index) : threadIndex(index) {}
    virtual ~worker();
    worker(const worker &) = delete;
    worker &operator=(const worker &) = delete;

    // A worker is one block on large pages.
    static void *operator new(std::size_t bytes, std::align_val_t alignment);
    static void operator delete(void *block, std::size_t bytes, std::align_val_t alignment);

    /// Starts the thread, which is idle when this returns. False if the system cannot create one.
    bool start();
    bool isStarted() const { return thread.joinable(); }

    /// Searches `position`. Called by the thread's loop.
    virtual void search();

    /// Starts the search of the thread, which must be idle.
    void wake();
    /// Returns when the thread is idle.
    void waitForSearchEnd();
    bool isSearching();

    const int threadIndex;
    moveCode firstRootMove = noMove; ///< a legal move at the root, if there is one
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

    /// Sets and reports `result`: the best move of `found`, the position of the chosen thread, and the reply
    /// from its variation, or from the last reported one if that begins with the same move.
    void answer(const pos &found);

    moveCode bestSoFar = noMove; ///< first two moves of the last reported variation
    moveCode ponderSoFar = noMove;
    searchResult result; ///< of the last search
};

/// Element 0 is the boss; element i has threadIndex i. Changed only between searches.
extern std::vector<std::unique_ptr<worker>> workerPool;

boss &theBoss();

/// The worker whose move is played; all must be idle. A winning mate comes first, then a deeper result,
/// then a finished iteration over an unfinished one. With one thread or a depth limit always the boss.
worker &chooseBestThread();

/// Alpha-beta and quiescence nodes of one thread.
inline std::uint64_t nodesOf(const pos &position) { return position.searchNodes + position.quiescenceNodes; }

/// Totals over all workers for reports. Counters of running workers may lag.
struct searchTotals
{
    std::uint64_t nodes = 0; ///< alpha-beta and quiescence nodes
    std::uint64_t tablebaseHits = 0;
    std::uint64_t elapsedMs = 0; ///< at least 1; raises searchLimits.elapsedMs from 0
    std::uint64_t nodesPerSecond = 0;
};
searchTotals sumUpSearch();

/// Waits for a running search, destroys all workers and creates `count` new ones; 0 ends all threads.
/// Returns the number of workers for which there was memory and a thread, the boss included. An existing
/// boss is renewed in place, so a pool is never lost: throws bad_alloc only if there is no memory for
/// the first boss.
int rebuildWorkerPool(int count);

/// The transposition table and the workers of a program, which exist as long as this does. They may be
/// resized meanwhile. One object at a time.
struct searchResources
{
    searchResources(int threads, int hashMegabytes);
    ~searchResources();
    searchResources(const searchResources &) = delete;
    searchResources &operator=(const searchResources &) = delete;
};

/// Clears the continuation histories of all workers for a new game.
void clearWorkerHistory();

/// Clears the evaluation caches of all workers. No search may run.
void clearEvaluationCaches();

bool isSearchRunning();
void waitForSearch();

/// Copies `root` to all workers and starts the boss, which must be idle, with the limits in
/// `searchLimits`. Returns at once; the `reporter` gets the result. If the boss has no thread, it
/// searches on the caller's, and this returns after the result.
void startSearch(const pos &root);

/// The search as a function, for programs without a UCI loop. Searches `root` on the caller's thread, in
/// place of the boss's, and on those of the other workers. `limits` become `searchLimits`, with the
/// clock started now. The boss must be idle. With one thread, fresh tables and only depth or node limits,
/// the result depends on the position alone.
searchResult runSearch(const pos &root, const searchLimitValues &limits);

} // namespace tarvonel
