// SPDX-License-Identifier: MIT
// A joint's range as an artist gives it: minimum and maximum about three axes, and the twist axis.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace Sinew {

/// Degrees about x, then y, then z. A pair whose magnitudes sum to 359 or more means a free axis: (0, 359).
struct EulerLimits {
    float range[6] = {0.0f,   359.0f, 0.0f,
                      359.0f, 0.0f,   359.0f}; ///< min, max about x; min, max about y; about z
    std::uint32_t axis = 2; ///< twist axis: 0 x, 1 y, 2 z
};

} // namespace Sinew

#pragma GCC visibility pop
