// Large blocks of zeroed memory for the transposition table.
#pragma once

#include <cstddef>

namespace tarvonel
{

/// A zeroed block of at least `bytes` bytes, aligned to a cache line at least and on large pages
/// where the system grants them; null if the memory cannot be had.
void *allocateLarge(std::size_t bytes);

/// Gives back a block of `allocateLarge`; `bytes` as it was asked for. Null is allowed.
void releaseLarge(void *block, std::size_t bytes);

/// Asks for large pages under a block that exists already, before it is first written to. A wish:
/// the block serves without them.
void preferLargePages(void *block, std::size_t bytes);

} // namespace tarvonel
