#include "platform/wholeFile.h"

#include <filesystem>
#include <fstream>
#include <system_error>

namespace tarvonel
{

std::string writeWholeFile(const std::string &path, const std::function<void(std::ostream &)> &write)
{
    std::error_code error;
    if (std::filesystem::exists(path, error) && !std::filesystem::is_regular_file(path, error))
        return path + " is no regular file";
    const std::string draft = path + ".part";
    {
        std::ofstream stream(draft, std::ios::binary);
        write(stream);
        if (!stream.flush())
            return "cannot write " + draft;
    }
    std::filesystem::rename(draft, path, error);
    return error ? "cannot rename " + draft + " to " + path : "";
}

} // namespace tarvonel
