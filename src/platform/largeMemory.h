// Large blocks of zeroed memory: the transposition table and the search threads' records.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvonel
{

/// A zeroed block of at least `bytes` bytes, aligned at least to a cache line, on large pages where
/// available; null if the machine cannot hold it in addition to the blocks in use. Pages become
/// resident when they are first written to.
void *allocateLarge(std::size_t bytes);

/// Returns a block, or null, to the system; `bytes` as passed to `allocateLarge`.
void releaseLarge(void *block, std::size_t bytes);

/// Requests large pages (best effort) for an existing block, before it is first written to.
void preferLargePages(void *block, std::size_t bytes);

#ifndef _WIN32
/// Bytes available in the machine and in every control group that contains the process, read from the
/// kernel's files under the directory `tree`; "" is the running system.
std::uint64_t availableMemory(const std::string &tree);
#endif

} // namespace tarvonel
