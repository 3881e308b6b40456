// Read-only mapping of a whole file into memory.
//
// A mapping shows the file as it is now, not as it was. If another program truncates or overwrites
// the file in place, or a network share fails, the bytes can no longer be read and the system raises
// SIGBUS. The process survives that: all bytes of the mapping then read as zeros, for good, and
// `isDamaged` reports it. A reader must therefore cope with any bytes, and ask `isDamaged` after
// reading and before using the result. Windows refuses to change a mapped file, so that only the
// failing share is left there, and it still ends the process.
//
// Threads: a mapping may be read by any number of threads; one thread opens and closes it, while no
// other reads it. Different mappings are independent.
#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <string>

namespace tarvonel
{

/// The platform's file separator.
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
    void *handle = nullptr;                     ///< the platform's own record
    const std::atomic<bool> *damaged = nullptr; ///< set once a read has failed; null where that is not detected
};

/// Whether reading has failed. False: everything read from the mapping before the call was in the file.
inline bool isDamaged(const fileMapping &mapping)
{
#ifndef __SANITIZE_THREAD__ // which knows no fences; the processors that it runs on need none here
    std::atomic_thread_fence(std::memory_order_acquire);
#endif
    return mapping.damaged != nullptr && mapping.damaged->load(std::memory_order_relaxed);
}

enum class mappingResult
{
    mapped,
    notFound, ///< the file could not be opened for reading
    failed,   ///< it opened, but could not be mapped
};

/// Size of a regular file in bytes without reading it; -1 if it cannot be opened for reading.
std::int64_t readableFileSize(const std::string &path);

/// Maps the whole file. On anything but `mapped`, `mapping` is empty and `error` (if given) holds
/// the operating system's error number.
mappingResult mapFile(const std::string &path, fileMapping &mapping, unsigned long *error = nullptr);

/// Undoes `mapFile` and empties the record; does nothing on an empty one. Returns 0 or the
/// operating system's error number.
unsigned long unmapFile(fileMapping &mapping);

} // namespace tarvonel
