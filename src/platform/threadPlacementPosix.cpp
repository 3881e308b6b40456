#include "platform/threadPlacement.h"

#ifdef __linux__

#include <algorithm>
#include <vector>

#include <sched.h>
#include <unistd.h>

#include "platform/placementPlan.h"

namespace tarvonel
{

namespace
{

/// Room for 8192 processors, the most that the kernel can be built for.
struct processorSet
{
    cpu_set_t words[8];
};

/// The processors that the process may use, noted before any thread is bound. The process's id
/// names its first thread.
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

// Asked once while the program is loaded, when no thread can have been bound yet.
[[maybe_unused]] const std::vector<int> &notedAtStart = startProcessors();

/// The machine as the process sees it; it is taken not to change while the program runs.
const machineShape &machine()
{
    static const machineShape shape = readMachineShape("/sys/devices/system", startProcessors());
    return shape;
}

void bindToProcessors(const std::vector<int> &processors)
{
    processorSet set = {};
    for (const int processor : processors)
        CPU_SET_S(processor, sizeof(set), set.words);
    sched_setaffinity(0, sizeof(set), set.words);
}

} // namespace

void bindThreadToNode(int threadIndex, int numaNode)
{
    const std::vector<processorNode> &nodes = machine().nodes;
    if (numaNode == 0)
    {
        const int place =
            nodeForThread(static_cast<int>(nodes.size()), machine().coreCount, machine().processorCount, threadIndex);
        if (place != noNode)
            bindToProcessors(nodes[static_cast<std::size_t>(place)].processors);
        return;
    }
    const auto node = std::find_if(nodes.begin(), nodes.end(),
                                   [=](const processorNode &candidate) { return candidate.number == numaNode - 1; });
    if (node != nodes.end())
        bindToProcessors(node->processors);
}

} // namespace tarvonel

#else

namespace tarvonel
{

void bindThreadToNode(int, int) {}

} // namespace tarvonel

#endif
