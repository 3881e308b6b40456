#include "platform/placementPlan.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <sstream>
#include <utility>

namespace tarvonel
{

namespace
{

/// More than any kernel can be built for; keeps a damaged list from growing without end.
constexpr int processorNumberLimit = 1 << 16;

std::string firstLine(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

std::vector<int> inBoth(const std::vector<int> &a, const std::vector<int> &b)
{
    std::vector<int> common;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(common));
    return common;
}

/// The logical processors on the same physical core; only itself where the kernel does not tell.
std::vector<int> coreMates(const std::string &systemTree, int processor)
{
    const std::string topology = systemTree + "/cpu/cpu" + std::to_string(processor) + "/topology/";
    for (const char *name : {"core_cpus_list", "thread_siblings_list"}) // the second in older kernels
        if (std::vector<int> mates = parseProcessorList(firstLine(topology + name)); !mates.empty())
            return mates;
    return {processor};
}

} // namespace

int nodeForThread(int nodeCount, int coreCount, int processorCount, int threadIndex)
{
    if (nodeCount < 1)
        return noNode;

    const int coresPerNode = coreCount / nodeCount;
    const int placedOnCores = coresPerNode * nodeCount;
    if (threadIndex < placedOnCores)
        return threadIndex / coresPerNode;

    const int turn = threadIndex - placedOnCores;
    return turn < processorCount - coreCount ? turn % nodeCount : noNode;
}

std::vector<int> parseProcessorList(const std::string &text)
{
    std::vector<int> numbers;
    std::istringstream stream(text);
    for (int first = 0; stream >> first;)
    {
        char separator = 0;
        int last = first;
        if (stream >> separator && separator == '-')
        {
            if (!(stream >> last))
                break;
            separator = 0;
            stream >> separator;
        }
        if (first < 0 || last < first || last >= processorNumberLimit)
            break;
        for (int number = first; number <= last; ++number)
            numbers.push_back(number);
        if (separator != ',')
            break;
    }
    return numbers;
}

machineShape readMachineShape(const std::string &systemTree, const std::vector<int> &allowed)
{
    machineShape machine;
    for (const int number : parseProcessorList(firstLine(systemTree + "/node/online")))
    {
        const std::string listPath = systemTree + "/node/node" + std::to_string(number) + "/cpulist";
        std::vector<int> processors = inBoth(parseProcessorList(firstLine(listPath)), allowed);
        if (!processors.empty())
            machine.nodes.push_back({number, std::move(processors)});
    }

    machine.processorCount = static_cast<int>(allowed.size());
    for (const int processor : allowed)
    {
        // A core is counted at the first of its usable processors.
        const std::vector<int> mates = inBoth(coreMates(systemTree, processor), allowed);
        if (mates.empty() || mates.front() == processor)
            ++machine.coreCount;
    }
    return machine;
}

} // namespace tarvonel
