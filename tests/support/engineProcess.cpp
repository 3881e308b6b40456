#include "support/engineProcess.h"

#include <algorithm>
#include <chrono>
#include <climits>
#include <csignal>
#include <cstdlib>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace tarvonel
{
namespace
{

using testClock = std::chrono::steady_clock;

testClock::time_point deadlineAfter(int milliseconds)
{
    return testClock::now() + std::chrono::milliseconds(milliseconds);
}

int millisecondsUntil(testClock::time_point deadline)
{
    const auto left = std::chrono::duration_cast<std::chrono::milliseconds>(deadline - testClock::now()).count();
    return static_cast<int>(std::max<decltype(left)>(left, 0));
}

[[noreturn]] void runEngine(const std::string &directory, const std::vector<std::string> &words)
{
    std::vector<char *> arguments = {const_cast<char *>(TARVONEL_ENGINE_PATH)};
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    if (chdir(directory.c_str()) == 0)
        execv(TARVONEL_ENGINE_PATH, arguments.data());
    _exit(127);
}

} // namespace

engineProcess::engineProcess(const std::string &directory, const std::vector<std::string> &words)
{
    // A write to an engine that has ended is to fail, not to end the test.
    std::signal(SIGPIPE, SIG_IGN);
    int toEngine[2], fromEngine[2];
    if (pipe2(toEngine, O_CLOEXEC) != 0 || pipe2(fromEngine, O_CLOEXEC) != 0)
    {
        ADD_FAILURE() << "no pipe";
        return;
    }
    process = fork();
    if (process == 0)
    {
        dup2(toEngine[0], STDIN_FILENO);
        dup2(fromEngine[1], STDOUT_FILENO);
        std::signal(SIGPIPE, SIG_DFL);
        runEngine(directory, words);
    }
    close(toEngine[0]);
    close(fromEngine[1]);
    input = toEngine[1];
    output = fromEngine[0];
}

engineProcess::~engineProcess()
{
    closeInput();
    close(output);
    if (process > 0)
    {
        kill(process, SIGKILL);
        waitpid(process, nullptr, 0);
    }
}

void engineProcess::send(const std::string &line) { sendRaw(line + '\n'); }

// Reads what comes meanwhile: two full pipes would stop both sides for ever.
void engineProcess::sendRaw(const std::string &bytes)
{
    for (std::size_t done = 0; done < bytes.size();)
    {
        pollfd ends[] = {{input, POLLOUT, 0}, {output, POLLIN, 0}};
        if (poll(ends, 2, defaultTimeoutMs) <= 0)
        {
            ADD_FAILURE() << "the engine takes no input";
            return;
        }
        if ((ends[1].revents & POLLIN) != 0)
            fillBuffer(0);
        if (ends[0].revents == 0)
            continue;
        const std::size_t count = std::min<std::size_t>(bytes.size() - done, PIPE_BUF); // never blocks
        const ssize_t written = write(input, bytes.data() + done, count);
        if (written <= 0)
        {
            ADD_FAILURE() << "the engine has closed its input";
            return;
        }
        done += static_cast<std::size_t>(written);
    }
}

void engineProcess::closeInput()
{
    if (input >= 0)
        close(input);
    input = -1;
}

bool engineProcess::fillBuffer(int timeoutMs)
{
    pollfd wait = {output, POLLIN, 0};
    if (poll(&wait, 1, timeoutMs) <= 0)
        return false;
    char bytes[4096];
    const ssize_t count = read(output, bytes, sizeof bytes);
    if (count <= 0)
        return false;
    buffer.append(bytes, static_cast<std::size_t>(count));
    return true;
}

std::optional<std::string> engineProcess::readLine(int timeoutMs)
{
    const auto deadline = deadlineAfter(timeoutMs);
    std::size_t end;
    while ((end = buffer.find('\n')) == std::string::npos)
        if (!fillBuffer(millisecondsUntil(deadline)))
            return std::nullopt;
    const std::string text = buffer.substr(0, end);
    buffer.erase(0, end + 1);
    return text;
}

std::vector<std::string> engineProcess::readUntil(const std::string &prefix, int timeoutMs)
{
    const auto deadline = deadlineAfter(timeoutMs);
    std::vector<std::string> lines;
    while (std::optional<std::string> text = readLine(millisecondsUntil(deadline)))
    {
        lines.push_back(*text);
        if (text->starts_with(prefix))
            return lines;
    }
    ADD_FAILURE() << "no line \"" << prefix << "\" but " << testing::PrintToString(lines);
    lines.emplace_back();
    return lines;
}

std::vector<std::string> engineProcess::readToEnd(int timeoutMs)
{
    const auto deadline = deadlineAfter(timeoutMs);
    std::vector<std::string> lines;
    while (std::optional<std::string> text = readLine(millisecondsUntil(deadline)))
        lines.push_back(*text);
    EXPECT_TRUE(buffer.empty()) << "unfinished line: " << buffer;
    return lines;
}

std::optional<int> engineProcess::waitForExit(int timeoutMs)
{
    const auto deadline = deadlineAfter(timeoutMs);
    do
    {
        int status = 0;
        if (waitpid(process, &status, WNOHANG) == process)
        {
            process = -1;
            return WIFEXITED(status) ? std::optional<int>(WEXITSTATUS(status)) : std::nullopt;
        }
        poll(nullptr, 0, 1);
    } while (testClock::now() < deadline);
    return std::nullopt;
}

} // namespace tarvonel
