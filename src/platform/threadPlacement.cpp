#include "platform/threadPlacement.h"

#include <algorithm>
#include <fstream>
#include <iterator>
#include <optional>
#include <utility>

#include "platform/parseText.h"

namespace tarvonel
{

namespace
{

/// More than any kernel supports; bounds the memory that a damaged list can take.
constexpr int processorNumberLimit = 1 << 16;

std::string firstLine(const std::string &path)
{
    std::ifstream file(path);
    std::string line;
    std::getline(file, line);
    return line;
}

/// Reads a kernel list such as "0-3,8", up to the first entry that is not a number or a range.
std::vector<int> parseProcessorList(const std::string &text)
{
    std::vector<int> numbers;
    for (const std::string_view range : splitFields(text, ','))
    {
        const std::size_t dash = std::min(range.find('-'), range.size());
        const std::optional<int> first = wholeNumber<int>(range.substr(0, dash));
        const std::optional<int> last = dash < range.size() ? wholeNumber<int>(range.substr(dash + 1)) : first;
        if (!first || !last || *first < 0 || *last < *first || *last >= processorNumberLimit)
            break;
        for (int number = *first; number <= *last; ++number)
            numbers.push_back(number);
    }
    return numbers;
}

std::vector<int> inBoth(const std::vector<int> &a, const std::vector<int> &b)
{
    std::vector<int> common;
    std::set_intersection(a.begin(), a.end(), b.begin(), b.end(), std::back_inserter(common));
    return common;
}

/// The logical processors on the same physical core; only itself if the kernel does not list them.
std::vector<int> coreSiblings(const std::string &systemTree, int processor)
{
    const std::string topology = systemTree + "/cpu/cpu" + std::to_string(processor) + "/topology/";
    for (const char *name : {"core_cpus_list", "thread_siblings_list"}) // the second in older kernels
        if (std::vector<int> siblings = parseProcessorList(firstLine(topology + name)); !siblings.empty())
            return siblings;
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

std::vector<int> processorsForThread(const machineShape &machine, int threadIndex, int numaNode)
{
    const std::vector<processorNode> &nodes = machine.nodes;
    if (numaNode == 0)
    {
        const int place =
            nodeForThread(static_cast<int>(nodes.size()), machine.coreCount, machine.processorCount, threadIndex);
        return place == noNode ? std::vector<int>() : nodes[static_cast<std::size_t>(place)].processors;
    }
    const auto node = std::ranges::find(nodes, numaNode - 1, &processorNode::number);
    return node == nodes.end() ? std::vector<int>() : node->processors;
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
        // Count a core at the first of its usable processors.
        const std::vector<int> siblings = inBoth(coreSiblings(systemTree, processor), allowed);
        if (siblings.empty() || siblings.front() == processor)
            ++machine.coreCount;
    }
    return machine;
}

} // namespace tarvonel
