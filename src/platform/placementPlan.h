// Which NUMA node each search thread goes to, from what is known of the machine's processors.
//
// Threads are placed one per physical core first, filling node after node; then the further
// logical processors are handed out in turn over the nodes; further threads are not placed.
#pragma once

#include <string>
#include <vector>

namespace tarvonel
{

inline constexpr int noNode = -1;

/// A NUMA node and the processors of it that may be used, in rising order.
struct processorNode
{
    int number;
    std::vector<int> processors;
};

struct machineShape
{
    std::vector<processorNode> nodes; ///< those with at least one usable processor
    int coreCount = 0;                ///< physical cores
    int processorCount = 0;           ///< logical processors
};

/// The place in the order of nodes (from 0) for the thread with this index, or `noNode`.
int nodeForThread(int nodeCount, int coreCount, int processorCount, int threadIndex);

/// Reads a kernel list of numbers such as "0-3,8"; what is no list gives what was read before it.
std::vector<int> parseProcessorList(const std::string &text);

/// Reads nodes and cores from the kernel's tree of system devices ("/sys/devices/system"), as far
/// as they hold processors of the sorted list `allowed`. A tree that cannot be read has no nodes.
machineShape readMachineShape(const std::string &systemTree, const std::vector<int> &allowed);

} // namespace tarvonel
