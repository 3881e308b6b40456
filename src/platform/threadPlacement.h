// Binds search threads to NUMA nodes, so that each finds its tables in near memory.
//
// Never widens the set of processors that the process was started with. Every failure is silent:
// the thread then runs where the system puts it.
#pragma once

namespace tarvonel
{

/// Binds the calling thread. With `numaNode` 0 the node follows from the thread's index: one
/// thread per physical core first, node by node, then the logical processors in turn over the
/// nodes; threads beyond the machine's processors stay unbound. Otherwise all threads go to node
/// `numaNode` - 1.
void bindThreadToNode(int threadIndex, int numaNode);

} // namespace tarvonel
