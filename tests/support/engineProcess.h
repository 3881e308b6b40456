// The engine as a controller sees it: a process with a pipe to its standard input and one from its
// standard output. POSIX only.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

#include "support/temporaryDirectory.h"

namespace tarvonel
{

using lines = std::vector<std::string>;

class engineProcess
{
  public:
    /// Starts the program in `directory` with the words behind its name.
    explicit engineProcess(const std::string &directory, const lines &words = {});
    /// Kills the process if it still runs.
    ~engineProcess();
    engineProcess(const engineProcess &) = delete;
    engineProcess &operator=(const engineProcess &) = delete;

    /// Writes the line and its end; `sendRaw` as it is.
    void send(const std::string &line) { sendRaw(line + '\n'); }
    void sendRaw(const std::string &bytes);
    void closeInput();

    /// The next line, without its end; nothing if none comes in time or the output has ended.
    std::optional<std::string> readLine(int timeoutMs = defaultTimeoutMs);
    /// All lines up to the first that starts with `prefix`, which is the last of the result; fails
    /// the test if it does not come.
    lines readUntil(const std::string &prefix);
    /// All lines up to the end of the output; fails the test unless the exit status is 0.
    lines readToExit();
    /// What the engine prints for the command, up to the answer of a second one that never waits and
    /// changes nothing.
    lines ask(const std::string &command);

  private:
    bool fillBuffer(int timeoutMs);

    /// Far beyond what anything here takes, sanitizers and a busy machine included.
    static constexpr int defaultTimeoutMs = 60000;

    pid_t process = -1;
    int input = -1, output = -1;
    std::string buffer;
};

/// A directory with a network of the default name.
const temporaryDirectory &networkDirectory();

/// An engine in that directory that has greeted and has a small table.
struct startedEngine : engineProcess
{
    startedEngine();
};

} // namespace tarvonel
