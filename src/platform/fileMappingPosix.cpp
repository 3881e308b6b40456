#include "platform/fileMapping.h"

#include <cerrno>

#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarvonel
{

namespace
{

constexpr int noDescriptor = -1;

/// A regular file opened for reading with its size, or `noDescriptor` with `errno` set. Does not
/// wait for the other end where the path names a pipe.
int openRegularFile(const std::string &path, std::int64_t &size)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor == noDescriptor)
        return noDescriptor;

    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
    {
        size = status.st_size;
        return descriptor;
    }
    close(descriptor);
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return noDescriptor;
}

mappingResult giveUp(mappingResult result, int number, unsigned long *error)
{
    if (error != nullptr)
        *error = static_cast<unsigned long>(number);
    return result;
}

} // namespace

std::int64_t readableFileSize(const std::string &path)
{
    std::int64_t size = 0;
    const int descriptor = openRegularFile(path, size);
    if (descriptor == noDescriptor)
        return -1;
    close(descriptor);
    return size;
}

mappingResult mapFile(const std::string &path, fileMapping &mapping, unsigned long *error)
{
    mapping = {};
    std::int64_t size = 0;
    const int descriptor = openRegularFile(path, size);
    if (descriptor == noDescriptor)
        return giveUp(mappingResult::notFound, errno, error);

    void *const view = mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_SHARED, descriptor, 0);
    const int mapError = errno;
    close(descriptor); // the mapping holds the file open by itself
    if (view == MAP_FAILED)
        return giveUp(mappingResult::failed, mapError, error);

    mapping.data = static_cast<const std::uint8_t *>(view);
    mapping.size = static_cast<std::size_t>(size);
    return mappingResult::mapped;
}

unsigned long unmapFile(fileMapping &mapping)
{
    unsigned long error = 0;
    if (mapping.data != nullptr && munmap(const_cast<std::uint8_t *>(mapping.data), mapping.size) != 0)
        error = static_cast<unsigned long>(errno);
    mapping = {};
    return error;
}

} // namespace tarvonel
