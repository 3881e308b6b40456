// Binds search threads to NUMA nodes, so that each finds its tables in near memory.
//
// One thread per physical core first, filling node after node; then the remaining logical processors
// in turn over the nodes; further threads are not bound. Never widens the set of processors that the
// process was started with. Every failure is silent: the thread then runs where the system puts it.
#pragma once

#include <string>
#include <vector>

namespace tarvonel
{

/// Binds the calling thread: with `numaNode` 0 to the node of its index, otherwise to node
/// `numaNode` - 1.
void bindThreadToNode(int threadIndex, int numaNode);

inline constexpr int noNode = -1;

/// A NUMA node and its usable processors, in rising order.
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

/// The processors that `bindThreadToNode` chooses on this machine; none if the thread stays unbound.
std::vector<int> processorsForThread(const machineShape &machine, int threadIndex, int numaNode);

/// Reads nodes and cores from the kernel's tree of system devices ("/sys/devices/system"), as far
/// as they hold processors of the sorted list `allowed`. A tree that cannot be read has no nodes.
machineShape readMachineShape(const std::string &systemTree, const std::vector<int> &allowed);

} // namespace tarvonel
