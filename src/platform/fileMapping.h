// Read-only mapping of a whole file into memory.
//
// Threads: a mapping may be read by any number of threads; opening and closing belong to one.
#pragma once

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
    void *handle = nullptr; ///< the platform's mapping object, where it has one
};

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
