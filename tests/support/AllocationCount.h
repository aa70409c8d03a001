// SPDX-License-Identifier: MIT
// Counts blocks and bytes of the engine's allocator.
#pragma once

#include <cstddef>

namespace support {

/// Installs the counting hooks; call it before any solver exists in the process.
void countAllocations();
std::size_t allocationCount();
std::size_t liveBytes();

} // namespace support
