#include "atomicFile.h"

#include <cerrno>
#include <cstdio>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <unistd.h>

namespace tarvonel
{

namespace
{

bool writeStream(const std::string &path, const std::function<void(std::ostream &)> &write)
{
    std::ofstream stream(path, std::ios::binary);
    write(stream);
    stream.close();
    return stream.good();
}

/// Waits until the file or directory is on the disk.
bool syncFile(const std::string &path)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC);
    const bool isSynced = descriptor >= 0 && fsync(descriptor) == 0;
    if (descriptor >= 0)
        close(descriptor);
    return isSynced;
}

} // namespace

void replaceFile(const std::string &path, const std::function<void(std::ostream &)> &write)
{
    namespace fs = std::filesystem;
    if (fs::exists(path) && !fs::is_regular_file(path))
        throw std::runtime_error(path + " is not a regular file");
    const std::string draft = path + ".part";
    errno = 0;
    if (!writeStream(draft, write) || !syncFile(draft) || std::rename(draft.c_str(), path.c_str()) != 0)
    {
        const std::string reason = errno != 0 ? std::string(": ") + std::strerror(errno) : "";
        std::remove(draft.c_str());
        throw std::runtime_error("cannot write " + path + reason);
    }
    const std::string directory = fs::path(path).parent_path();
    syncFile(directory.empty() ? "." : directory); // so that the new name survives a power cut
}

} // namespace tarvonel
