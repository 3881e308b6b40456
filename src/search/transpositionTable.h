// The transposition table: results of earlier searches by position, shared by all workers.
//
// A cluster is one cache line: the data words of its four slots, then their key words.
//
//   data word   0-31 move | 32-47 value | 48-55 depth | 56-57 bound | 58-63 age
//   key word    the position's whole 64-bit key
//
// A data word of 0 is an empty slot. The cluster number is the low bits of the key.
//
// Threads: words are relaxed atomics; there is no lock. A reader can see the key of one entry with the
// data of another, so a hash move must be validated before it is played. Resizing, clearing and ageing
// happen between searches only.
#pragma once

#include <cstdint>

#include "board/bits.h"
#include "board/moveCode.h"
#include "platform/relaxed.h"

namespace tarvonel
{

enum ttBound : int
{
    boundNone = 0,
    boundUpper = 1, ///< true score <= value
    boundLower = 2, ///< true score >= value
    boundExact = 3,
};

inline constexpr int ttSlots = 4;
inline constexpr std::uint64_t ttClustersPerMegabyte = 16384;
inline constexpr int ttAges = 64;

struct alignas(64) ttCluster
{
    relaxed<std::uint64_t> data[ttSlots];
    relaxed<std::uint64_t> key[ttSlots];
};
static_assert(sizeof(ttCluster) == 64);

extern ttCluster *ttTable;
extern std::uint64_t ttMask;    ///< number of clusters - 1; the number is a power of two
extern relaxed<bool> ttIsBlank; ///< nothing was stored since the last clear
extern std::uint8_t ttAge;      ///< 0 to 63

/// Access to the fields of a data word. A miss has `boundNone`.
struct ttEntry
{
    std::uint64_t word;

    moveCode move() const { return static_cast<moveCode>(word); }
    int value() const { return static_cast<std::int16_t>(word >> 32); }
    int depth() const { return static_cast<std::int8_t>(word >> 48); }
    ttBound bound() const { return static_cast<ttBound>(word >> 56 & 3); }
    int age() const { return static_cast<int>(word >> 58); }
    bool isHit() const { return bound() != boundNone; }
};

/// Replaces the table by an empty one of `megabytes` MiB, rounded up to a power of two, and halved until
/// the memory can be allocated. Returns the megabytes allocated. The system provides zeroed pages, which
/// become resident when they are first written to.
std::uint64_t ttResize(int megabytes);

/// Frees the memory. The table is unusable until `ttResize`.
void ttRelease();

/// Empties the table with `engineOptions.threadCount` short-lived threads; at once if it is blank. The
/// first call after a resize makes all pages resident, so that page faults do not delay a search between
/// two checks of the clock.
void ttClear();

/// Starts a new age; called for each search before the workers start.
void ttAdvanceAge();

/// The entry that holds `key`, or a miss.
ttEntry ttProbe(std::uint64_t key);

/// Stores an entry, over the one with the same key, an empty one, or the least valuable of the cluster.
/// `score` is relative to the node, `ply` its distance from the root.
void ttStore(std::uint64_t key, moveCode move, int score, int depth, ttBound bound, int ply);

/// Prefetches the key's cluster into the cache.
inline void ttPrefetch(std::uint64_t key) { prefetch(&ttTable[key & ttMask]); }

} // namespace tarvonel
