#include "platform/largeMemory.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace tarvonel
{

// Committed memory is zeroed and counted against the system's limit at once, so that too large a
// block is refused here and not when it is touched.
void *allocateLarge(std::size_t bytes)
{
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void releaseLarge(void *block, std::size_t /*bytes*/)
{
    if (block != nullptr)
        VirtualFree(block, 0, MEM_RELEASE);
}

// Large pages need a privilege that users do not have.
void preferLargePages(void * /*block*/, std::size_t /*bytes*/) {}

} // namespace tarvonel
