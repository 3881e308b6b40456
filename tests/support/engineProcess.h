// The engine as a controller sees it: a process with a pipe to its standard input and one from its
// standard output. POSIX only.
#pragma once

#include <optional>
#include <string>
#include <vector>

#include "match/childProcess.h"
#include "support/temporaryDirectory.h"

namespace tarvonel
{

using lines = std::vector<std::string>;

class engineProcess
{
  public:
    /// Starts the program in `directory` with `words` as arguments. `limitKib`, unless 0, limits its
    /// address space.
    explicit engineProcess(const std::string &directory, const lines &words = {}, int limitKib = 0);
    /// Kills the process if it still runs.
    ~engineProcess() { endProcess(process, 0); }
    engineProcess(const engineProcess &) = delete;
    engineProcess &operator=(const engineProcess &) = delete;

    /// Writes the lines and the end of the last.
    void send(const std::string &text);
    void endInput() { closeInput(process); }

    /// The next line, without its end; nothing if none comes in time or the output has ended.
    std::optional<std::string> readLine(int timeoutMs = defaultTimeoutMs);
    /// All lines up to the first that starts with `prefix`, which is the last of the result; fails
    /// the test if it does not come.
    lines readUntil(const std::string &prefix);
    /// All lines up to the end of the output; fails the test unless the process ends in that way.
    lines readToExit(const std::string &end = "exit code 0");
    /// What the engine prints for the command, up to the answer of a second one that never waits and
    /// changes nothing.
    lines ask(const std::string &command);

  private:
    /// Far more than any test needs, even under sanitizers on a busy machine.
    static constexpr int defaultTimeoutMs = 60000;

    childProcess process;
};

/// Whether the environment variable TARVONEL_ENGINE names another engine's command line. It is assumed
/// to run under wine.
bool isForeignEngine();

/// The path of the engine built here.
const char *engineProgram();

/// The path as the engine's system writes it.
std::string pathForEngine(std::string path);

/// A directory with a network of the default name.
const temporaryDirectory &networkDirectory();

/// An engine in that directory that has greeted and has a small table.
struct startedEngine : engineProcess
{
    startedEngine();
};

} // namespace tarvonel
