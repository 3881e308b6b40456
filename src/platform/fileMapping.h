// Read-only mapping of a whole file into memory.
//
// A mapping shows the current contents of the file. If another program truncates the file or a network
// share fails, its bytes can no longer be read and the system raises SIGBUS. The process survives: from
// then on all bytes of the mapping read as zeros and `isDamaged` returns true. A reader must therefore
// handle any bytes, and check `isDamaged` after reading and before using the result. Windows does not
// allow changes to a mapped file; a failing share still ends the process there.
//
// Threads: any number of threads may read a mapping; one opens and closes it while no other reads.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvonel
{

#ifdef _WIN32
inline constexpr char fileSeparator = '\\';
#else
inline constexpr char fileSeparator = '/';
#endif

/// A mapped file. `data` is null while nothing is mapped.
struct fileMapping
{
    const std::uint8_t *data = nullptr;
    std::size_t size = 0;
    void *handle = nullptr;                     ///< private to the implementation
    const std::atomic<bool> *damaged = nullptr; ///< set when a read has failed; null where that is not detected
};

/// Whether a read has failed. If not, everything read from the mapping so far came from the file.
inline bool isDamaged(const fileMapping &mapping)
{
#ifndef __SANITIZE_THREAD__ // does not support fences, and x86 needs none here
    std::atomic_thread_fence(std::memory_order_acquire);
#endif
    return mapping.damaged != nullptr && mapping.damaged->load(std::memory_order_relaxed);
}

enum class mappingResult
{
    mapped,
    notFound, ///< the file could not be opened for reading
    failed,   ///< the file was opened but could not be mapped
};

/// Size of a regular file in bytes; -1 if the path names no regular file or it cannot be opened.
std::int64_t readableFileSize(const std::string &path);

/// Maps the whole file. On failure `mapping` is empty and `error`, if given, receives the operating
/// system's error number.
mappingResult mapFile(const std::string &path, fileMapping &mapping, unsigned long *error = nullptr);

/// Unmaps the file and clears the record; does nothing if nothing is mapped. Returns 0 or the operating
/// system's error number.
unsigned long unmapFile(fileMapping &mapping);

} // namespace tarvonel
