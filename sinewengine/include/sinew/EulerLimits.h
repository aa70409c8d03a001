// SPDX-License-Identifier: MIT
// A joint's range as an artist gives it: minimum and maximum about three axes, and the twist axis.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace Sinew {

/// What `IKSegment::setEulerLimits` takes. The two ranges beside the twist axis become a box for the
/// direction of that axis, the third one a roll range.
struct EulerLimits {
    /// Degrees about the bone's own axes: min, max about x; min, max about y; min, max about z. Beside the
    /// twist axis, a pair whose magnitudes sum to 359 or more is a free axis. About the twist axis a pair
    /// counts as it is, so that 0 to 359 pulls every negative roll back: give -179 to 179 for a free twist.
    /// (-180 to 180 or more sets no roll range, and a bone without one is held at the roll of its rest pose.)
    float range[6] = {0.0f, 359.0f, 0.0f, 359.0f, 0.0f, 359.0f};
    std::uint32_t axis = 2; ///< twist axis: 0 x, 1 y, 2 z; any other value counts as 0
};

} // namespace Sinew

#pragma GCC visibility pop
