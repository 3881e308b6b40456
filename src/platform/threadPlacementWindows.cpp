#include "platform/threadPlacement.h"

#include <cstddef>
#include <memory>

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace tarvonel
{

namespace
{

using processorInformationCall = BOOL(WINAPI *)(LOGICAL_PROCESSOR_RELATIONSHIP,
                                                PSYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX, PDWORD);
using nodeMaskCall = BOOL(WINAPI *)(USHORT, PGROUP_AFFINITY);
using groupAffinityCall = BOOL(WINAPI *)(HANDLE, const GROUP_AFFINITY *, PGROUP_AFFINITY);

/// A function of the kernel library, or null on a system that lacks it.
template <typename Call> Call kernelFunction(const char *name)
{
    const HMODULE library = GetModuleHandleA("Kernel32.dll");
    if (library == nullptr)
        return nullptr;
    return reinterpret_cast<Call>(reinterpret_cast<void *>(GetProcAddress(library, name)));
}

struct processorCounts
{
    int nodes = 0;
    int cores = 0;
    int processors = 0;
};

/// Counts the variable-length records that describe the system's processors.
processorCounts countProcessors(const std::byte *records, DWORD length)
{
    processorCounts counts;
    for (DWORD offset = 0; offset < length;)
    {
        const auto *record = reinterpret_cast<const SYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX *>(records + offset);
        if (record->Relationship == RelationNumaNode)
            ++counts.nodes;
        else if (record->Relationship == RelationProcessorCore)
        {
            ++counts.cores;
            counts.processors += record->Processor.Flags == LTP_PC_SMT ? 2 : 1;
        }
        if (record->Size == 0)
            break;
        offset += record->Size;
    }
    return counts;
}

/// The node of the thread with this index, or `noNode`.
int numaNodeForThread(int index)
{
    const auto query = kernelFunction<processorInformationCall>("GetLogicalProcessorInformationEx");
    if (query == nullptr)
        return noNode;

    DWORD length = 0;
    if (query(RelationAll, nullptr, &length) != 0)
        return noNode;
    const std::unique_ptr<std::byte[]> records(new std::byte[length]);
    if (query(RelationAll, reinterpret_cast<PSYSTEM_LOGICAL_PROCESSOR_INFORMATION_EX>(records.get()), &length) == 0)
        return noNode;

    const processorCounts counts = countProcessors(records.get(), length);
    return nodeForThread(counts.nodes, counts.cores, counts.processors, index);
}

} // namespace

void bindThreadToNode(int threadIndex, int numaNode)
{
    const int node = numaNode != 0 ? numaNode - 1 : numaNodeForThread(threadIndex);
    if (node == noNode)
        return;

    const auto nodeMask = kernelFunction<nodeMaskCall>("GetNumaNodeProcessorMaskEx");
    const auto setAffinity = kernelFunction<groupAffinityCall>("SetThreadGroupAffinity");
    if (nodeMask == nullptr || setAffinity == nullptr)
        return;

    GROUP_AFFINITY affinity = {};
    if (nodeMask(static_cast<USHORT>(node), &affinity) != 0)
        setAffinity(GetCurrentThread(), &affinity, nullptr);
}

} // namespace tarvonel
