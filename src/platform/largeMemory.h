// Large blocks of zeroed memory: the transposition table and the search threads' records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvonel
{

/// A zeroed block of at least `bytes` bytes, aligned to a cache line at least and on large pages
/// where the system has them; null if the machine cannot hold it in addition to the blocks in use.
/// Pages become resident when they are first written to.
void *allocateLarge(std::size_t bytes);

/// Returns a block of `allocateLarge` to the system; `bytes` as it was asked for. Null is allowed.
void releaseLarge(void *block, std::size_t bytes);

/// Requests large pages (best effort) for an existing block, before it is first written to.
void preferLargePages(void *block, std::size_t bytes);

#ifndef _WIN32
/// Bytes that the machine and every control group around the process still have, from the files of
/// the kernel in the directory `tree`; "" is the running system.
std::uint64_t availableMemory(const std::string &tree);
#endif

} // namespace tarvonel
