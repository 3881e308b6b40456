// The engine as a controller sees it: a process with a pipe to its standard input and one from its
// standard output. POSIX only.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include <sys/types.h>

namespace tarvonel
{

class engineProcess
{
  public:
    /// Starts the program in `directory` with the words behind its name.
    explicit engineProcess(const std::string &directory, const std::vector<std::string> &words = {});
    /// Kills the process if it still runs.
    ~engineProcess();
    engineProcess(const engineProcess &) = delete;
    engineProcess &operator=(const engineProcess &) = delete;

    /// Writes the line and its end; `sendRaw` as it is.
    void send(const std::string &line);
    void sendRaw(const std::string &bytes);
    void closeInput();

    /// The next line, without its end; nothing if none comes in time or the output has ended.
    std::optional<std::string> readLine(int timeoutMs = defaultTimeoutMs);
    /// All lines up to the first that starts with `prefix`, which is the last of the result; fails
    /// the test if it does not come in time.
    std::vector<std::string> readUntil(const std::string &prefix, int timeoutMs = defaultTimeoutMs);
    /// All lines up to the end of the output.
    std::vector<std::string> readToEnd(int timeoutMs = defaultTimeoutMs);
    /// The exit status; nothing if the process still runs after that time or was killed by a signal.
    std::optional<int> waitForExit(int timeoutMs = defaultTimeoutMs);

    /// Far beyond what anything here takes, sanitizers and a busy machine included.
    static constexpr int defaultTimeoutMs = 60000;

  private:
    bool fillBuffer(int timeoutMs);

    pid_t process = -1;
    int input = -1;
    int output = -1;
    std::string buffer;
};

} // namespace tarvonel
