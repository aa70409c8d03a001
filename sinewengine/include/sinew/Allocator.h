// SPDX-License-Identifier: MIT
// The engine's zero-filling aligned allocator and its hooks.
#pragma once

#include <cstddef>

#pragma GCC visibility push(default)

namespace Sinew {

constexpr std::size_t kEngineAlignment = 128; ///< alignment of engine objects and arrays, in bytes

/// Returns a block of `size` bytes, a multiple of `alignment`; what is in it doesn't matter. Null ends the
/// program.
using AllocateFunction = void* (*)(std::size_t size, std::size_t alignment);
/// Takes back a block of the AllocateFunction; never null.
using FreeFunction = void (*)(void* block);

/// A zero-filled block of more than `size` bytes: `size` plus `alignment` rounded down to a multiple of the
/// alignment, which is at least 8. Ends the program, with a line on the standard error stream, when memory is
/// out.
void* alignedAlloc(std::size_t size, std::size_t alignment);

/// Releases a block of `alignedAlloc`; null is allowed.
void alignedFree(void* block);

/// Installs both functions for the whole process, once, before any solver exists and before threads start;
/// ignored unless both are non-null. Every block of the engine then comes from them.
void setAllocator(AllocateFunction allocate, FreeFunction free);

} // namespace Sinew

#pragma GCC visibility pop
