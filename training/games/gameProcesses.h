// Child processes that write games, each to its own file.
//
// The search's state is global, so each core runs a process, and each process writes its own file:
// OUT.0, OUT.1 and so on. The processes count their work in shared memory.
#pragma once

#include <atomic>
#include <cstdint>
#include <functional>
#include <string>

#include "games/gameFile.h"

namespace tarvonel
{

inline constexpr int mostProcesses = 256;

/// The work of one process, in shared memory.
struct alignas(64) processTally
{
    std::atomic<std::uint64_t> games{0}; ///< in its file
    std::atomic<std::uint64_t> positions{0};
    std::atomic<std::uint64_t> newScores{0}; ///< since the start of the process
};

/// What a child process knows.
struct gameProcess
{
    int number;        ///< from 0
    int parent;        ///< process id
    gameWriter writer; ///< open
    processTally *tally;
};

/// Whether the work has to end: the program was asked to, or the parent has ended.
bool mustEnd(const gameProcess &process);

/// Appends a game to the process's file and counts it, with the number of its newly scored positions.
void finishGame(gameProcess &process, const storedGame &game, std::size_t scored);

/// Runs `work` in `count` child processes, prints their progress, and returns the exit status once all have
/// ended. An exception ends its process with a line on standard error.
int runProcesses(const char *program, const std::string &out, int count,
                 const std::function<void(gameProcess &)> &work);

} // namespace tarvonel
