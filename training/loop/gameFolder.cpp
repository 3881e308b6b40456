#include "loop/gameFolder.h"

#include <algorithm>
#include <filesystem>
#include <utility>

#include "games/gameFile.h"

namespace tarvonel
{

namespace
{

namespace fs = std::filesystem;

void countFile(gameCounter::fileCount &count, const std::string &path)
{
    gameReader reader;
    if (!openGames(reader, path))
        return;
    reader.offset = std::min(count.offset, reader.end);
    for (storedGame game; nextGame(reader, game);)
    {
    }
    count.offset = std::max(count.offset, reader.summary.soundEnd);
    count.positions += reader.summary.positions;
    closeGames(reader);
}

} // namespace

void countNewGames(gameCounter &counter)
{
    for (const fs::directory_entry &entry : fs::directory_iterator(counter.folder))
    {
        std::error_code gone;
        if (entry.is_regular_file(gone))
            countFile(counter.files[entry.path().filename()], entry.path());
    }
    std::erase_if(counter.files, [&](const auto &file) { return !fs::exists(counter.folder + "/" + file.first); });
}

std::uint64_t newPositions(const gameCounter &counter, const std::vector<gamesFile> &known)
{
    std::uint64_t found = 0;
    for (const auto &[name, count] : counter.files)
    {
        const auto old = std::ranges::find(known, name, &gamesFile::name);
        const std::uint64_t before = old == known.end() ? 0 : old->positions;
        found += count.positions - std::min(before, count.positions);
    }
    return found;
}

std::vector<gamesFile> newestFiles(const gameCounter &counter, std::uint64_t window)
{
    std::vector<std::pair<fs::file_time_type, gamesFile>> dated;
    for (const auto &[name, count] : counter.files)
    {
        std::error_code gone;
        if (count.positions > 0)
            dated.push_back({fs::last_write_time(counter.folder + "/" + name, gone), {name, count.positions, true}});
    }
    std::ranges::stable_sort(dated, std::ranges::greater(), [](const auto &file) { return file.first; });
    std::vector<gamesFile> files;
    std::uint64_t held = 0;
    for (auto &[time, file] : dated)
    {
        file.isInWindow = held < window;
        held += file.positions;
        files.push_back(std::move(file));
    }
    return files;
}

} // namespace tarvonel
