// SPDX-License-Identifier: MIT
// Base of engine objects: memory comes zeroed and aligned from the engine's allocator.
#pragma once

#include <sinew/Allocator.h>

namespace Sinew {

struct AlignedObject {
    static void* operator new(std::size_t size) { return alignedAlloc(size, kEngineAlignment); }
    static void* operator new(std::size_t, void* place) noexcept { return place; }
    static void operator delete(void* block) { alignedFree(block); }
};

} // namespace Sinew
