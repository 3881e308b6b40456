#include "platform/largeMemory.h"

#ifndef NOMINMAX
#define NOMINMAX
#endif
#include <windows.h>

namespace tarvonel
{

// Committed memory is zeroed and counts against the system's limit at once, so a block that is too
// large fails here and not when it is touched.
void *allocateLarge(std::size_t bytes)
{
    return VirtualAlloc(nullptr, bytes, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void releaseLarge(void *block, std::size_t /*bytes*/)
{
    if (block != nullptr)
        VirtualFree(block, 0, MEM_RELEASE);
}

// Large pages need a privilege that ordinary users lack.
void preferLargePages(void * /*block*/, std::size_t /*bytes*/) {}

} // namespace tarvonel
