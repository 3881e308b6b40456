// A program started with pipes on its standard input and output, spoken to line by line.
//
// Threads: one record belongs to one thread; several threads may start programs at the same time.
#pragma once

#include <cstdint>
#include <string>
#include <vector>

namespace tarvonel
{

struct childProcess
{
    int processId = -1; ///< -1 while none runs
    int toChild = -1;
    int fromChild = -1;
    std::string unread; ///< what came in behind the last line
};

enum class lineResult
{
    read,
    timedOut,
    ended, ///< the program closed its output, or wrote a line without end
};

/// Starts words[0] with the other words, in `directory` if that is not empty; standard error stays
/// the caller's. Returns an empty text, or what went wrong.
std::string startProcess(childProcess &process, const std::vector<std::string> &words, const std::string &directory);

/// Writes the text and a newline; false when the program no longer reads.
bool sendLine(childProcess &process, const std::string &text);

/// Waits for a whole line until the monotonic clock passes `deadline` (milliseconds).
lineResult receiveLine(childProcess &process, std::string &line, std::int64_t deadline);

/// Tells the program that nothing more will come.
void closeInput(childProcess &process);

/// Closes the program's input, gives it `grace` milliseconds to end and then ends it. Returns how
/// it ended ("exit code 0", "signal 11"), or an empty text if none ran.
std::string endProcess(childProcess &process, int grace);

} // namespace tarvonel
