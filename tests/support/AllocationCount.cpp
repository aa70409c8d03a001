// SPDX-License-Identifier: MIT
// Counting hooks on top of aligned_alloc.
#include "support/AllocationCount.h"

#include <sinew/Allocator.h>

#include <atomic>
#include <cstdlib>
#include <cstring>

namespace support {

namespace {

std::atomic<std::size_t> allocations{0}, bytes{0};

// The size lies in a block of its own in front, as large as the alignment, so that the rest stays aligned.
void* allocate(std::size_t size, std::size_t alignment)
{
    const std::size_t head = alignment < 2 * sizeof(std::size_t) ? 2 * sizeof(std::size_t) : alignment;
    char* start = static_cast<char*>(std::aligned_alloc(head, head + (size + head - 1) / head * head));
    std::memcpy(start + head - sizeof size, &size, sizeof size);
    std::memcpy(start + head - 2 * sizeof size, &head, sizeof head);
    ++allocations;
    bytes += size;
    return start + head;
}

void release(void* block)
{
    std::size_t size, head;
    std::memcpy(&size, static_cast<char*>(block) - sizeof size, sizeof size);
    std::memcpy(&head, static_cast<char*>(block) - 2 * sizeof size, sizeof head);
    bytes -= size;
    std::free(static_cast<char*>(block) - head);
}

} // namespace

void countAllocations() { Sinew::setAllocator(allocate, release); }
std::size_t allocationCount() { return allocations; }
std::size_t liveBytes() { return bytes; }

} // namespace support
