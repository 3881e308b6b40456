#include "match/childProcess.h"

#include <algorithm>
#include <cerrno>
#include <csignal>
#include <cstring>
#include <fcntl.h>
#include <mutex>
#include <poll.h>
#include <stdexcept>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>
#ifdef __linux__
#include <sys/prctl.h>
#endif

#include "platform/clock.h"

namespace tarvonel
{

namespace
{

constexpr std::size_t longestLine = 1 << 20;

/// Held from the first pipe of a process to its start: no other process may inherit these pipes.
std::mutex startLock;

/// A file descriptor that is closed with its owner and in every program that starts.
class ownDescriptor
{
  public:
    ownDescriptor() = default;
    explicit ownDescriptor(int descriptor) : number(descriptor)
    {
        if (number < 0 || fcntl(number, F_SETFD, FD_CLOEXEC) != 0)
            throw std::runtime_error(std::strerror(errno));
    }
    ~ownDescriptor() { reset(); }
    ownDescriptor(const ownDescriptor &) = delete;
    ownDescriptor(ownDescriptor &&other) noexcept : number(other.release()) {}
    ownDescriptor &operator=(ownDescriptor &&other) noexcept
    {
        reset();
        number = other.release();
        return *this;
    }
    int get() const { return number; }
    int release() { return std::exchange(number, -1); }
    void reset()
    {
        if (number >= 0)
            close(number);
        number = -1;
    }

  private:
    int number = -1;
};

struct pipeEnds
{
    ownDescriptor readEnd;
    ownDescriptor writeEnd;
};

pipeEnds openPipe()
{
    int both[2];
    if (pipe(both) != 0)
        throw std::runtime_error(std::strerror(errno));
    pipeEnds ends;
    ends.readEnd = ownDescriptor(both[0]);
    ends.writeEnd = ownDescriptor(both[1]);
    return ends;
}

void closeDescriptor(int &descriptor)
{
    if (descriptor >= 0)
        close(descriptor);
    descriptor = -1;
}

struct childSetup
{
    std::vector<char *> arguments; ///< ends with a null pointer
    const char *directory;
    int input;
    int output;
    int errors; ///< -1: the caller's
};

/// The child between fork and exec: only calls that are safe there. Sends the number of an error
/// through `failure`, which a successful exec closes.
[[noreturn]] void becomeProgram(const childSetup &setup, int failure)
{
#ifdef __linux__
    prctl(PR_SET_PDEATHSIG, SIGKILL);
#endif
    if ((*setup.directory == '\0' || chdir(setup.directory) == 0) && dup2(setup.input, STDIN_FILENO) >= 0 &&
        dup2(setup.output, STDOUT_FILENO) >= 0 && (setup.errors < 0 || dup2(setup.errors, STDERR_FILENO) >= 0))
    {
        signal(SIGPIPE, SIG_DFL);
        signal(SIGINT, SIG_IGN); // the parent handles an interrupt from the keyboard
        execvp(setup.arguments[0], setup.arguments.data());
    }
    const int error = errno;
    [[maybe_unused]] const ssize_t written = write(failure, &error, sizeof error);
    _exit(127);
}

/// 0 once the program runs, else the error number that the child sent.
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

/// Returns the id of the process, which runs its program. Under `startLock`.
pid_t spawn(const childSetup &setup)
{
    pipeEnds failure = openPipe();
    const pid_t child = fork();
    if (child < 0)
        throw std::runtime_error(std::strerror(errno));
    if (child == 0)
        becomeProgram(setup, failure.writeEnd.get());
    failure.writeEnd.reset();
    if (const int error = awaitStart(failure.readEnd.get()); error != 0)
    {
        waitpid(child, nullptr, 0);
        throw std::runtime_error(std::strerror(error));
    }
    return child;
}

std::vector<char *> argumentPointers(const std::vector<std::string> &words)
{
    std::vector<char *> pointers;
    for (const std::string &word : words)
        pointers.push_back(const_cast<char *>(word.c_str()));
    pointers.push_back(nullptr);
    return pointers;
}

ownDescriptor openForReading(const char *path) { return ownDescriptor(open(path, O_RDONLY)); }

ownDescriptor openLog(const std::string &path)
{
    return ownDescriptor(open(path.c_str(), O_WRONLY | O_CREAT | O_APPEND, 0666));
}

/// Runs `start` under the lock; its errors get the program's name.
template <typename Start> void startUnderLock(const std::vector<std::string> &words, const Start &start)
{
    if (words.empty())
        throw std::runtime_error("no program named");
    const std::lock_guard guard(startLock);
    signal(SIGPIPE, SIG_IGN);
    try
    {
        start();
    }
    catch (const std::runtime_error &error)
    {
        throw std::runtime_error("cannot start " + words[0] + ": " + error.what());
    }
}

std::string describeEnd(int status)
{
    return WIFSIGNALED(status) ? "signal " + std::to_string(WTERMSIG(status))
                               : "exit code " + std::to_string(WEXITSTATUS(status));
}

void forgetProcess(childProcess &process)
{
    closeDescriptor(process.toChild);
    closeDescriptor(process.fromChild);
    process = {};
}

} // namespace

void startProcess(childProcess &process, const std::vector<std::string> &words, const std::string &directory)
{
    startUnderLock(words,
                   [&]
                   {
                       pipeEnds input = openPipe();
                       pipeEnds output = openPipe();
                       const pid_t child = spawn({argumentPointers(words), directory.c_str(), input.readEnd.get(),
                                                  output.writeEnd.get(), -1});
                       process = {child, input.writeEnd.release(), output.readEnd.release(), {}};
                   });
}

void startLogged(childProcess &process, const std::vector<std::string> &words, const std::string &directory,
                 const std::string &log)
{
    startUnderLock(words,
                   [&]
                   {
                       const ownDescriptor input = openForReading("/dev/null");
                       const ownDescriptor output = openLog(log);
                       process.processId =
                           spawn({argumentPointers(words), directory.c_str(), input.get(), output.get(), output.get()});
                   });
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

void askToEnd(const childProcess &process)
{
    if (process.processId > 0)
        kill(process.processId, SIGTERM);
}

bool awaitEnd(childProcess &process, int milliseconds, std::string &how)
{
    how.clear();
    if (process.processId < 0)
        return true;
    const std::int64_t deadline = millisecondsNow() + milliseconds;
    int status = 0;
    while (waitpid(process.processId, &status, WNOHANG) == 0)
    {
        if (millisecondsNow() >= deadline)
            return false;
        sleepMilliseconds(1);
    }
    how = describeEnd(status);
    forgetProcess(process);
    return true;
}

std::string endProcess(childProcess &process, int grace)
{
    closeInput(process);
    std::string how;
    if (awaitEnd(process, grace, how))
        return how;
    kill(process.processId, SIGKILL);
    waitpid(process.processId, nullptr, 0);
    forgetProcess(process);
    return "killed, as it did not end by itself";
}

} // namespace tarvonel
