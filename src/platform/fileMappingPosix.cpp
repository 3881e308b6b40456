#include "platform/fileMapping.h"

#include <cerrno>
#include <csignal>
#include <cstdint>
#include <new>

#include <fcntl.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

namespace tarvonel
{

namespace
{

constexpr int noDescriptor = -1;

/// A live mapping, as the signal handler sees it.
struct liveMapping
{
    void *start = nullptr;
    std::size_t size = 0;
    std::atomic<bool> damaged{false};
    liveMapping *next = nullptr;
};

liveMapping *liveMappings = nullptr;
std::atomic_flag liveLock; ///< guards the list; nothing read under it can raise SIGBUS, so the handler may wait for it
struct sigaction previousAction;

/// Holds `liveLock`. Safe in a signal handler, unlike a mutex.
class liveGuard
{
  public:
    liveGuard()
    {
        while (liveLock.test_and_set(std::memory_order_acquire))
            sched_yield();
    }
    ~liveGuard() { liveLock.clear(std::memory_order_release); }
    liveGuard(const liveGuard &) = delete;
    liveGuard &operator=(const liveGuard &) = delete;
};

/// Replaces the mapping that contains the address by zero pages. False if there is none.
bool replaceByZeros(const void *address)
{
    const liveGuard guard;
    const auto at = reinterpret_cast<std::uintptr_t>(address);
    for (liveMapping *each = liveMappings; each != nullptr; each = each->next)
    {
        if (at - reinterpret_cast<std::uintptr_t>(each->start) >= each->size)
            continue;
        // The flag is set first, so that every reader of a zero page sees it. Replacing the whole mapping
        // keeps the number of mappings, which the system limits, from growing.
        each->damaged.store(true, std::memory_order_seq_cst);
        return mmap(each->start, each->size, PROT_READ, MAP_FIXED | MAP_PRIVATE | MAP_ANONYMOUS, -1, 0) != MAP_FAILED;
    }
    return false;
}

/// The read that raised SIGBUS is retried when this returns. Any other SIGBUS goes to the previous
/// handler, by default the end of the process.
void onBusError(int number, siginfo_t *information, void * /*context*/)
{
    const int savedErrno = errno;
    if (information->si_code != BUS_ADRERR || !replaceByZeros(information->si_addr))
    {
        sigaction(number, &previousAction, nullptr);
        raise(number);
    }
    errno = savedErrno;
}

/// Installs the handler on the first call.
void watchBusErrors()
{
    static const bool isInstalled = []
    {
        struct sigaction action = {};
        action.sa_sigaction = onBusError;
        action.sa_flags = SA_SIGINFO | SA_RESTART;
        sigfillset(&action.sa_mask);
        return sigaction(SIGBUS, &action, &previousAction) == 0;
    }();
    static_cast<void>(isInstalled);
}

void addLive(liveMapping *added)
{
    const liveGuard guard;
    added->next = liveMappings;
    liveMappings = added;
}

void removeLive(const liveMapping *removed)
{
    const liveGuard guard;
    for (liveMapping **link = &liveMappings; *link != nullptr; link = &(*link)->next)
        if (*link == removed)
        {
            *link = removed->next;
            return;
        }
}

/// Opens a regular file for reading and gets its size. Returns `noDescriptor` with `errno` set on
/// failure. Does not block if the path names a pipe.
int openRegularFile(const std::string &path, std::int64_t &size)
{
    const int descriptor = open(path.c_str(), O_RDONLY | O_CLOEXEC | O_NONBLOCK);
    if (descriptor == noDescriptor)
        return noDescriptor;

    struct stat status = {};
    if (fstat(descriptor, &status) == 0 && S_ISREG(status.st_mode))
    {
        size = status.st_size;
        return descriptor;
    }
    close(descriptor);
    errno = S_ISDIR(status.st_mode) ? EISDIR : EINVAL;
    return noDescriptor;
}

mappingResult giveUp(mappingResult result, int number, unsigned long *error)
{
    if (error != nullptr)
        *error = static_cast<unsigned long>(number);
    return result;
}

} // namespace

std::int64_t readableFileSize(const std::string &path)
{
    std::int64_t size = 0;
    const int descriptor = openRegularFile(path, size);
    if (descriptor == noDescriptor)
        return -1;
    close(descriptor);
    return size;
}

mappingResult mapFile(const std::string &path, fileMapping &mapping, unsigned long *error)
{
    mapping = {};
    std::int64_t size = 0;
    const int descriptor = openRegularFile(path, size);
    if (descriptor == noDescriptor)
        return giveUp(mappingResult::notFound, errno, error);

    auto *const live = new (std::nothrow) liveMapping;
    void *const view = live == nullptr
                           ? MAP_FAILED
                           : mmap(nullptr, static_cast<std::size_t>(size), PROT_READ, MAP_SHARED, descriptor, 0);
    const int mapError = errno;
    close(descriptor); // the mapping keeps the file open
    if (view == MAP_FAILED)
    {
        delete live;
        return giveUp(mappingResult::failed, mapError, error);
    }

    watchBusErrors();
    live->start = view;
    live->size = static_cast<std::size_t>(size);
    addLive(live);
    mapping = {static_cast<const std::uint8_t *>(view), live->size, live, &live->damaged};
    return mappingResult::mapped;
}

unsigned long unmapFile(fileMapping &mapping)
{
    auto *const live = static_cast<liveMapping *>(mapping.handle);
    mapping = {};
    if (live == nullptr)
        return 0;
    removeLive(live); // first, so that the handler no longer touches these addresses
    const unsigned long error = munmap(live->start, live->size) == 0 ? 0 : static_cast<unsigned long>(errno);
    delete live;
    return error;
}

} // namespace tarvonel
