#include "wholeFile.h"

#include <cstdio>
#include <filesystem>
#include <fstream>

namespace tarvonel
{

std::string writeWholeFile(const std::string &path, const std::function<void(std::ostream &)> &write)
{
    if (std::filesystem::exists(path) && !std::filesystem::is_regular_file(path))
        return path + " is no regular file";
    const std::string draft = path + ".part";
    {
        std::ofstream stream(draft, std::ios::binary);
        write(stream);
        if (!stream.flush())
            return "cannot write " + draft;
    }
    return std::rename(draft.c_str(), path.c_str()) == 0 ? "" : "cannot rename " + draft + " to " + path;
}

} // namespace tarvonel
