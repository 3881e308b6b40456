#include "platform/fileMapping.h"

#include <limits>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace tarvonel
{

namespace
{

HANDLE openForReading(const std::string &path)
{
    return CreateFileA(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, FILE_FLAG_RANDOM_ACCESS,
                       nullptr);
}

/// The file's size in bytes, or -1 with the last error set.
std::int64_t sizeOf(HANDLE file)
{
    LARGE_INTEGER size;
    return GetFileSizeEx(file, &size) != 0 ? size.QuadPart : -1;
}

/// Maps an open file. Returns 0 or the system's error number; `mapping` is then empty.
unsigned long mapOpenFile(HANDLE file, fileMapping &mapping)
{
    const std::int64_t size = sizeOf(file);
    if (size < 0)
        return GetLastError();
    if (static_cast<std::uint64_t>(size) > std::numeric_limits<std::size_t>::max())
        return ERROR_FILE_TOO_LARGE;

    const HANDLE object = CreateFileMappingA(file, nullptr, PAGE_READONLY, 0, 0, nullptr);
    if (object == nullptr)
        return GetLastError();

    const void *const view = MapViewOfFile(object, FILE_MAP_READ, 0, 0, 0);
    if (view == nullptr)
    {
        const unsigned long error = GetLastError();
        CloseHandle(object);
        return error;
    }
    mapping.data = static_cast<const std::uint8_t *>(view);
    mapping.size = static_cast<std::size_t>(size);
    mapping.handle = object;
    return 0;
}

} // namespace

std::int64_t readableFileSize(const std::string &path)
{
    const HANDLE file = openForReading(path);
    if (file == INVALID_HANDLE_VALUE)
        return -1;
    const std::int64_t size = GetFileType(file) == FILE_TYPE_DISK ? sizeOf(file) : -1;
    CloseHandle(file);
    return size;
}

mappingResult mapFile(const std::string &path, fileMapping &mapping, unsigned long *error)
{
    mapping = {};
    const HANDLE file = openForReading(path);
    const bool isOpen = file != INVALID_HANDLE_VALUE;
    const unsigned long number = isOpen ? mapOpenFile(file, mapping) : GetLastError();
    if (isOpen)
        CloseHandle(file); // the mapping keeps the file open
    if (error != nullptr && number != 0)
        *error = number;
    return !isOpen ? mappingResult::notFound : number != 0 ? mappingResult::failed : mappingResult::mapped;
}

unsigned long unmapFile(fileMapping &mapping)
{
    unsigned long error = 0;
    if (mapping.data != nullptr && UnmapViewOfFile(mapping.data) == 0)
        error = GetLastError();
    if (mapping.handle != nullptr && CloseHandle(mapping.handle) == 0 && error == 0)
        error = GetLastError();
    mapping = {};
    return error;
}

} // namespace tarvonel
