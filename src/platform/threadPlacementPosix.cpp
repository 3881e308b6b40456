#include "platform/threadPlacement.h"

#ifdef __linux__

#include <vector>

#include <sched.h>
#include <unistd.h>

namespace tarvonel
{

namespace
{

/// A mask of 8192 processors, the kernel's maximum.
struct processorSet
{
    cpu_set_t words[8];
};

/// The affinity mask with which the process was started. Its first thread has the id of the process.
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

// Read during static initialisation, before any thread is bound.
[[maybe_unused]] const std::vector<int> &readAtStart = startProcessors();

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
