// Shared by the tests of the search: a workbench for calling its functions directly, and whole
// searches whose reports are recorded.
#pragma once

#include <cstdint>
#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "board/pos.h"
#include "search/searchLimits.h"
#include "search/worker.h"

namespace tarvonel
{

#if defined(__SANITIZE_THREAD__) || defined(__SANITIZE_ADDRESS__)
inline constexpr bool isSanitized = true;
#elif defined(__has_feature)
inline constexpr bool isSanitized = __has_feature(thread_sanitizer) || __has_feature(address_sanitizer);
#else
inline constexpr bool isSanitized = false;
#endif

inline constexpr const char *middleGame = "r1bq1rk1/pp2bppp/2n1pn2/3p4/2PP4/2N2N2/PP2BPPP/R1BQ1RK1 w - - 0 9";

/// Loads the test network and an empty transposition table of 1 MiB, and lifts all limits.
void prepareSearchTest();

/// A position with the tables of a search, on which a test plays moves and calls the search's
/// operations at the ply it has reached.
class workbench
{
  public:
    explicit workbench(const std::string &fen);

    pos &operator*() { return owner->position; }
    pos *operator->() { return &owner->position; }
    posinfo &node() { return owner->position.info[ply]; }
    posinfo &node(int ofPly) { return owner->position.info[ofPly]; }

    /// Writes the legal moves of the ply on to its list.
    std::vector<moveCode> legalMoves();
    /// The legal move with that text, its extra byte the moving piece; fails the test if there is none.
    moveCode move(const std::string &wanted);
    /// Plays a move, or passes, as the search does, and goes on to the next ply.
    void play(moveCode move);
    void play(const std::string &text) { play(move(text)); }
    void pass();
    std::string text(moveCode move) const;

    int ply = 0;

  private:
    std::unique_ptr<searchBoard> owner = std::make_unique<searchBoard>();
};

/// The reports of a search, as lines like "info score cp 12 depth 10 seldepth 12 nodes 99 tbhits 0 pv e2e4"
/// and "bestmove e2e4 ponder e7e5".
struct searchRecord
{
    std::vector<std::string> lines;
    moveCode best = noMove, ponder = noMove;
    int score = 0; ///< of the last iteration reported, mate or tablebase move reported
    int mates = 0; ///< mates found
    int tableMoves = 0;
    std::uint64_t nodes = 0; ///< of all workers, at the answer
};

/// Runs whole searches. Fixture of the suites that need a pool: `SetUp` gives one thread.
class searchFixture : public testing::Test
{
  protected:
    void SetUp() override;
    void TearDown() override;

    static void usePool(int threads);
    /// Starts with these limits and, unless they name a start, the clock set to now; the record starts afresh.
    static void start(const std::string &fen, const searchLimitValues &limits, bool ponders = false);
    static void start(const pos &root, const searchLimitValues &limits, bool ponders = false);
    /// Waits for the answer and returns the record.
    static const searchRecord &finish();
    static const searchRecord &run(const std::string &fen, const searchLimitValues &limits);
    static const searchRecord &run(const pos &root, const searchLimitValues &limits);
    /// The effect of the commands `stop` and `ucinewgame`.
    static void stop() { stopSearch = true; }
    static void newGame();
};

/// Whether the move is legal in the position, and the reply after it, unless that is `noMove`.
bool isLegalIn(const std::string &fen, moveCode move, moveCode reply = noMove);

} // namespace tarvonel
