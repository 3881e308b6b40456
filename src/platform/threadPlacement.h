// Binds search threads to NUMA nodes, so that each thread's tables are in local memory.
//
// The first threads get one physical core each, node by node; the next ones the remaining logical
// processors, alternating between nodes; further threads are not bound. A thread never gets a processor
// outside the affinity mask with which the process was started. If binding fails, the thread runs where
// the system puts it.
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

/// The index of the node for a thread, counted from 0, or `noNode`.
int nodeForThread(int nodeCount, int coreCount, int processorCount, int threadIndex);

/// The processors to which `bindThreadToNode` binds; empty if it leaves the thread unbound.
std::vector<int> processorsForThread(const machineShape &machine, int threadIndex, int numaNode);

/// Reads nodes and cores from the kernel's device tree ("/sys/devices/system"), ignoring processors
/// that are not in the sorted list `allowed`. There are no nodes if the tree cannot be read.
machineShape readMachineShape(const std::string &systemTree, const std::vector<int> &allowed);

} // namespace tarvonel
