// SPDX-License-Identifier: MIT
// The engine's zero-filling aligned allocator and its hooks.
#pragma once

#include <cstddef>

#pragma GCC visibility push(default)

namespace Sinew {

constexpr std::size_t kEngineAlignment = 128; ///< alignment of engine objects and arrays, in bytes

using AllocateFunction = void* (*)(std::size_t size, std::size_t alignment);
using FreeFunction = void (*)(void* block);

/// A zero-filled block of more than `size` bytes: `size` plus `alignment` rounded down to a multiple of the
/// alignment, which is at least 8. Ends the program when memory is out.
void* alignedAlloc(std::size_t size, std::size_t alignment);

/// Releases a block of `alignedAlloc`; null is allowed.
void alignedFree(void* block);

/// Installs both functions, once, before any solver exists; ignored unless both are non-null.
void setAllocator(AllocateFunction allocate, FreeFunction free);

} // namespace Sinew

#pragma GCC visibility pop
