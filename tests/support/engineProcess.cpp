#include "support/engineProcess.h"

#include <algorithm>
#include <climits>
#include <csignal>

#include <fcntl.h>
#include <poll.h>
#include <sys/wait.h>
#include <unistd.h>

#include "support/syntheticNetwork.h"

namespace tarvonel
{

engineProcess::engineProcess(const std::string &directory, const lines &words)
{
    std::signal(SIGPIPE, SIG_IGN); // a write to an engine that has ended is to fail, not to end the test
    int toEngine[2], fromEngine[2];
    if (pipe2(toEngine, O_CLOEXEC) != 0 || pipe2(fromEngine, O_CLOEXEC) != 0)
    {
        ADD_FAILURE() << "no pipe";
        return;
    }
    std::vector<char *> arguments = {const_cast<char *>(TARVONEL_ENGINE_PATH)};
    for (const std::string &word : words)
        arguments.push_back(const_cast<char *>(word.c_str()));
    arguments.push_back(nullptr);
    process = fork();
    if (process == 0)
    {
        dup2(toEngine[0], STDIN_FILENO);
        dup2(fromEngine[1], STDOUT_FILENO);
        std::signal(SIGPIPE, SIG_DFL);
        if (chdir(directory.c_str()) == 0)
            execv(TARVONEL_ENGINE_PATH, arguments.data());
        _exit(127);
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

// Reads what comes meanwhile: two full pipes would stop both sides for ever.
void engineProcess::sendRaw(const std::string &bytes)
{
    for (std::size_t done = 0; done < bytes.size();)
    {
        pollfd ends[] = {{input, POLLOUT, 0}, {output, POLLIN, 0}};
        const bool isReady = poll(ends, 2, defaultTimeoutMs) > 0;
        if ((ends[1].revents & POLLIN) != 0)
            fillBuffer(0);
        if (isReady && ends[0].revents == 0)
            continue;
        const std::size_t count = std::min<std::size_t>(bytes.size() - done, PIPE_BUF); // never blocks
        const ssize_t written = isReady ? write(input, bytes.data() + done, count) : 0;
        if (written <= 0)
        {
            ADD_FAILURE() << "the engine takes no input";
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
    char bytes[4096];
    const ssize_t count = poll(&wait, 1, timeoutMs) > 0 ? read(output, bytes, sizeof bytes) : 0;
    buffer.append(bytes, static_cast<std::size_t>(std::max<ssize_t>(count, 0)));
    return count > 0;
}

std::optional<std::string> engineProcess::readLine(int timeoutMs)
{
    std::size_t end;
    while ((end = buffer.find('\n')) == std::string::npos)
        if (!fillBuffer(timeoutMs))
            return std::nullopt;
    const std::string text = buffer.substr(0, end);
    buffer.erase(0, end + 1);
    return text;
}

lines engineProcess::readUntil(const std::string &prefix)
{
    lines all;
    while (std::optional<std::string> text = readLine())
    {
        all.push_back(*text);
        if (text->starts_with(prefix))
            return all;
    }
    ADD_FAILURE() << "no line \"" << prefix << "\" but " << testing::PrintToString(all);
    all.emplace_back();
    return all;
}

lines engineProcess::readToExit()
{
    lines all;
    while (std::optional<std::string> text = readLine())
        all.push_back(*text);
    EXPECT_TRUE(buffer.empty()) << "unfinished line: " << buffer;
    int status = -1;
    for (int waitedMs = 0; process > 0 && waitedMs < defaultTimeoutMs; ++waitedMs, poll(nullptr, 0, 1))
        if (waitpid(process, &status, WNOHANG) == process)
            process = -1;
    EXPECT_EQ(status, 0) << "exit status, or -1 for a process that runs on";
    return all;
}

lines engineProcess::ask(const std::string &command)
{
    send(command + "\nsetoption name SyzygyProbeDepth value 0");
    lines answer = readUntil("info string SyzygyProbeDepth set to: 0");
    answer.pop_back();
    return answer;
}

const temporaryDirectory &networkDirectory()
{
    static const temporaryDirectory directory;
    static const bool isWritten = writeSyntheticNetwork(directory / "220321-307.nnue");
    EXPECT_TRUE(isWritten);
    return directory;
}

startedEngine::startedEngine() : engineProcess(networkDirectory().path)
{
    send("setoption name Hash value 8");
    readUntil("info string Size of Hashtable set to : 8");
}

} // namespace tarvonel
