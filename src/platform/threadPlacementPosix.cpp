#include "platform/threadPlacement.h"

#ifdef __linux__

#include <vector>

#include <sched.h>
#include <unistd.h>

namespace tarvonel
{

namespace
{

/// Room for 8192 processors, the most that the kernel supports.
struct processorSet
{
    cpu_set_t words[8];
};

/// The processors that the process was started with, read before any thread is bound. The process id
/// is that of its first thread.
const std::vector<int> &startProcessors()
{
    static const std::vector<int> processors = []
    {
        std::vector<int> allowed;
        processorSet set = {};
        if (sched_getaffinity(getpid(), sizeof(set), set.words) == 0)
            for (int processor = 0; processor < static_cast<int>(8 * sizeof(set)); ++processor)
                if (CPU_ISSET_S(processor, sizeof(set), set.words))
                    allowed.push_back(processor);
        return allowed;
    }();
    return processors;
}

// Called once while the program is loaded, when no thread can have been bound yet.
[[maybe_unused]] const std::vector<int> &readAtStart = startProcessors();

/// The machine as the process sees it, read once.
const machineShape &machine()
{
    static const machineShape shape = readMachineShape("/sys/devices/system", startProcessors());
    return shape;
}

} // namespace

void bindThreadToNode(int threadIndex, int numaNode)
{
    const std::vector<int> processors = processorsForThread(machine(), threadIndex, numaNode);
    if (processors.empty())
        return;
    processorSet set = {};
    for (const int processor : processors)
        CPU_SET_S(processor, sizeof(set), set.words);
    sched_setaffinity(0, sizeof(set), set.words);
}

} // namespace tarvonel

#else

namespace tarvonel
{

void bindThreadToNode(int, int) {}

} // namespace tarvonel

#endif
