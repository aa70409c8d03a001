// SPDX-License-Identifier: MIT
// Aligned, zero-filled blocks, with the system's pointer kept in the eight bytes before each.
#include <sinew/Allocator.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace Sinew {

namespace {

AllocateFunction customAllocate = nullptr;
FreeFunction customFree = nullptr;

[[noreturn]] void endOutOfMemory()
{
    std::fputs("sinew: out of memory\n", stderr);
    std::abort();
}

} // namespace

void* alignedAlloc(std::size_t size, std::size_t alignment)
{
    const std::size_t a = alignment < 8 ? 8 : alignment;
    if (size > SIZE_MAX - 3 * a - 8)
        endOutOfMemory();
    const std::size_t n = (size + a) / a * a;
    if (customAllocate) {
        void* block = customAllocate(n, a);
        if (!block)
            endOutOfMemory();
        return std::memset(block, 0, n);
    }
    const std::size_t whole = a + 8 + n;
    char* start = static_cast<char*>(std::malloc(whole));
    if (!start)
        endOutOfMemory();
    // The first multiple of a that leaves eight bytes for the system's pointer before it; at most a + 8 from
    // the start.
    const std::uintptr_t address = (reinterpret_cast<std::uintptr_t>(start) + 8 + a - 1) / a * a;
    char* block = start + (address - reinterpret_cast<std::uintptr_t>(start));
    std::memcpy(block - 8, &start, sizeof start);
    std::memset(block, 0, static_cast<std::size_t>(start + whole - block));
    return block;
}

void alignedFree(void* block)
{
    if (!block)
        return;
    if (customFree)
        return customFree(block);
    void* start = nullptr;
    std::memcpy(&start, static_cast<char*>(block) - 8, sizeof start);
    std::free(start);
}

void setAllocator(AllocateFunction allocate, FreeFunction free)
{
    if (!allocate || !free)
        return;
    customAllocate = allocate;
    customFree = free;
}

} // namespace Sinew
