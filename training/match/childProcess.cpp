#include "match/childProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "platform/clock.h"

namespace tarvonel
{

namespace
{

constexpr std::size_t longestLine = 1 << 20;

struct pipeEnds
{
    int readEnd = -1;
    int writeEnd = -1;
};

/// Closed in every program that is started, so that one engine cannot hold another's pipe open.
bool openPipe(pipeEnds &ends)
{
    int both[2];
    if (pipe2(both, O_CLOEXEC) != 0)
        return false;
    ends = {both[0], both[1]};
    return true;
}

void closeDescriptor(int &descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
    descriptor = -1;
}

void closePipe(pipeEnds &ends)
{
    closeDescriptor(ends.readEnd);
    closeDescriptor(ends.writeEnd);
}

/// The child between fork and exec: only calls that are safe there. Tells a failure's number
/// through `failure`, which a successful exec closes.
[[noreturn]] void becomeProgram(char *const *arguments, const char *directory, int input, int output, int failure)
{
    if ((*directory == '\0' || chdir(directory) == 0) && dup2(input, STDIN_FILENO) >= 0 &&
        dup2(output, STDOUT_FILENO) >= 0)
    {
        signal(SIGPIPE, SIG_DFL);
        signal(SIGINT, SIG_IGN); // an interrupt from the keyboard is the parent's affair
        execvp(arguments[0], arguments);
    }
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(failure, &error, sizeof error);
    _exit(127);
}

std::string describeEnd(int status)
{
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit code " + std::to_string(WEXITSTATUS(status));
}

/// 0 when the execution began, else the child's error number.
int awaitStart(int descriptor)
{
    int error = 0;
    ssize_t count = 0;
    do
    {
        count = read(descriptor, &error, sizeof error);
    } while (count < 0 && errno == EINTR);
    return count == static_cast<ssize_t>(sizeof error) ? error : 0;
}

} // namespace

std::string startProcess(childProcess &process, const std::vector<std::string> &words, const std::string &directory)
{
    if (words.empty())
        return "no program named";
    signal(SIGPIPE, SIG_IGN);
    std::vector<char *> arguments;
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);

    pipeEnds input;
    pipeEnds output;
    pipeEnds failure;
    pid_t child = -1;
    if (openPipe(input) && openPipe(output) && openPipe(failure))
        child = fork();
    if (child == 0)
        becomeProgram(arguments.data(), directory.c_str(), input.readEnd, output.writeEnd, failure.writeEnd);
    int error = child < 0 ? errno : 0;
    closeDescriptor(failure.writeEnd);
    if (child > 0)
        error = awaitStart(failure.readEnd);
    closePipe(failure);
    closeDescriptor(input.readEnd);
    closeDescriptor(output.writeEnd);
    if (error != 0)
    {
        closePipe(input);
        closePipe(output);
        if (child > 0)
            waitpid(child, nullptr, 0);
        return "cannot start " + words[0] + ": " + std::strerror(error);
    }
    process = {child, input.writeEnd, output.readEnd, {}};
    return {};
}

bool sendLine(childProcess &process, const std::string &text)
{
    const std::string line = text + "\n";
    for (std::size_t sent = 0; sent < line.size();)
    {
        const ssize_t count = write(process.toChild, line.data() + sent, line.size() - sent);
        if (count < 0 && errno != EINTR)
            return false;
        sent += static_cast<std::size_t>(count > 0 ? count : 0);
    }
    return true;
}

lineResult receiveLine(childProcess &process, std::string &line, std::int64_t deadline)
{
    for (;;)
    {
        const std::size_t end = process.unread.find('\n');
        if (end != std::string::npos)
        {
            line = process.unread.substr(0, end);
            process.unread.erase(0, end + 1);
            if (line.ends_with('\r'))
                line.pop_back();
            return lineResult::read;
        }
        const std::int64_t left = deadline - millisecondsNow();
        pollfd waiting{process.fromChild, POLLIN, 0};
        const int ready = poll(&waiting, 1, static_cast<int>(std::clamp<std::int64_t>(left, 0, 60000)));
        if (ready < 0 && errno == EINTR)
            continue;
        if (ready <= 0)
        {
            if (ready == 0 && millisecondsNow() < deadline)
                continue;
            return lineResult::timedOut;
        }
        char bytes[4096];
        const ssize_t count = read(process.fromChild, bytes, sizeof bytes);
        if (count < 0 && errno == EINTR)
            continue;
        if (count <= 0 || process.unread.size() > longestLine)
            return lineResult::ended;
        process.unread.append(bytes, static_cast<std::size_t>(count));
    }
}

void closeInput(childProcess &process) { closeDescriptor(process.toChild); }

std::string endProcess(childProcess &process, int grace)
{
    if (process.processId < 0)
        return {};
    closeInput(process);
    const std::int64_t deadline = millisecondsNow() + grace;
    int status = 0;
    pid_t ended = 0;
    while ((ended = waitpid(process.processId, &status, WNOHANG)) == 0 && millisecondsNow() < deadline)
        sleepMilliseconds(1);
    std::string how;
    if (ended == 0)
    {
        kill(process.processId, SIGKILL);
        waitpid(process.processId, &status, 0);
        how = "ended by force, as it did not end by itself";
    }
    else
    {
        how = describeEnd(status);
    }
    closeDescriptor(process.fromChild);
    process = {};
    return how;
}

} // namespace tarvonel
