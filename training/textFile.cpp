#include "textFile.h"

#include <cerrno>
#include <cstring>
#include <fcntl.h>
#include <filesystem>
#include <fstream>
#include <stdexcept>
#include <sys/stat.h>
#include <unistd.h>

namespace tarvonel
{

namespace
{

/// Size of the file up to and including its last newline.
off_t wholeLinesSize(int descriptor)
{
    struct stat status = {};
    off_t size = fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode) ? status.st_size : 0;
    char last = 0;
    while (size > 0 && pread(descriptor, &last, 1, size - 1) == 1 && last != '\n')
        --size;
    return size;
}

/// Returns 0 or the error number.
int writeAt(int descriptor, off_t begin, const std::string &text)
{
    if (ftruncate(descriptor, begin) != 0 && errno != EINVAL) // EINVAL: not a regular file
        return errno;
    lseek(descriptor, begin, SEEK_SET);
    for (std::size_t written = 0; written < text.size();)
    {
        const ssize_t count = write(descriptor, text.data() + written, text.size() - written);
        if (count < 0 && errno != EINTR)
        {
            const int error = errno;
            return ftruncate(descriptor, begin) == 0 ? error : errno;
        }
        written += static_cast<std::size_t>(count > 0 ? count : 0);
    }
    return 0;
}

} // namespace

std::vector<std::string> readLines(const std::string &path)
{
    std::vector<std::string> lines;
    if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path))
        throw std::runtime_error(path + " is not a regular file");
    std::ifstream stream(path);
    for (std::string line; std::getline(stream, line) && !stream.eof();)
        lines.push_back(line);
    return lines;
}

void appendText(const std::string &path, const std::string &text)
{
    const int descriptor = open(path.c_str(), O_RDWR | O_CREAT | O_CLOEXEC, 0666);
    const int error = descriptor < 0 ? errno : writeAt(descriptor, wholeLinesSize(descriptor), text);
    if (descriptor >= 0)
        close(descriptor);
    if (error != 0)
        throw std::runtime_error("cannot write " + path + ": " + std::strerror(error));
}

} // namespace tarvonel
