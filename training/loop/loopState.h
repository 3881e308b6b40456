// Where a training loop is: one small text file, "NAME VALUE" a line, from which `learn` goes on
// after an end at any moment.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvonel
{

enum class loopStage
{
    play,
    train,
    average,
    match,
    promote,
};

inline constexpr const char *stageNames[] = {"play", "train", "average", "match", "promote"};

/// A file of games and what was counted in it when its positions were last taken over.
struct gamesFile
{
    std::string name;
    std::uint64_t positions = 0;
    bool isInWindow = true; ///< one of those that the loop trains on
};

struct loopState
{
    int loop = 1;
    loopStage stage = loopStage::play;
    int run = 1;                  ///< training run under way
    bool isNightOver = false;     ///< the next start begins another night
    double nightSeconds = 0;      ///< worked in this night, over all starts
    double loopSeconds = 0;       ///< worked in this loop after its play stage
    double lastLoopSeconds = 0;   ///< the same of the loop before; 0 if there was none
    std::vector<double> gains;    ///< Elo of each loop of this night, 0 where the best network stayed
    double elo = 0;               ///< of the best network over the first
    std::uint64_t positions = 0;  ///< new positions over all loops
    std::vector<gamesFile> games; ///< newest first
};

/// Both throw std::runtime_error: if the file is damaged; if it cannot be written.
loopState readState(const std::string &path);
void writeState(const std::string &path, const loopState &state);

} // namespace tarvonel
