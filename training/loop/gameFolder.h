// The files of games in a folder that several machines may write to: how many positions they hold,
// and which are the newest.
#pragma once

#include <cstdint>
#include <map>
#include <string>
#include <vector>

#include "loop/loopState.h"

namespace tarvonel
{

/// Counts the positions of growing files; each call reads only what is new.
struct gameCounter
{
    struct fileCount
    {
        std::uint64_t offset = 0; ///< end of the last whole game
        std::uint64_t positions = 0;
    };
    std::string folder;
    std::map<std::string, fileCount> files; ///< by name
};

/// Counts the games written since the last call. Files that hold anything else are left out.
void countNewGames(gameCounter &counter);

/// How many of the counted positions are not in `known`.
std::uint64_t newPositions(const gameCounter &counter, const std::vector<gamesFile> &known);

/// All counted files, the last written first. In the window are those of the newest that together
/// hold at least `window` positions, or all.
std::vector<gamesFile> newestFiles(const gameCounter &counter, std::uint64_t window);

} // namespace tarvonel
