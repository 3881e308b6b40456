// Child processes: engines, spoken to line by line over pipes, and programs that write to a log.
//
// Threads: one record belongs to one thread; several threads may start processes at the same time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvonel
{

struct childProcess
{
    int processId = -1; ///< -1 while none runs
    int toChild = -1;   ///< -1 for a process that writes to a log
    int fromChild = -1;
    std::string unread; ///< received after the last line
};

enum class lineResult
{
    read,
    timedOut,
    ended, ///< the program closed its output, or wrote a line without end
};

/// Starts words[0] with the other words as arguments, in `directory` if that is not empty, with pipes
/// on its standard input and output; standard error stays the caller's. Under Linux the process is
/// killed when the calling thread ends. Throws std::runtime_error if it cannot start.
void startProcess(childProcess &process, const std::vector<std::string> &words, const std::string &directory);

/// The same with an empty input, and all output appended to the file `log`.
void startLogged(childProcess &process, const std::vector<std::string> &words, const std::string &directory,
                 const std::string &log);

/// Writes the text and a newline; false if the program no longer reads.
bool sendLine(childProcess &process, const std::string &text);

/// Waits for a whole line until the monotonic clock passes `deadline` (milliseconds).
lineResult receiveLine(childProcess &process, std::string &line, std::int64_t deadline);

/// Closes the program's standard input.
void closeInput(childProcess &process);

/// Sends SIGTERM.
void askToEnd(const childProcess &process);

/// Waits at most `milliseconds` for the program to end; true if it has ended, or none runs. `how` is
/// then "exit code 0", "signal 11" or the like, or empty.
bool awaitEnd(childProcess &process, int milliseconds, std::string &how);

/// Closes the program's input, waits `grace` milliseconds for it to end and then kills it. Returns how
/// it ended, or an empty text if none ran.
std::string endProcess(childProcess &process, int grace);

} // namespace tarvonel
