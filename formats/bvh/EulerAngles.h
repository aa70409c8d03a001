// SPDX-License-Identifier: MIT
// Rotations to the angles of up to three different axes, chosen near angles that are given.
#pragma once

#include "bvh/Rotation.h"

namespace formats {

/// Rotation axes of a joint in channel order (0, 1, 2 for x, y, z; each at most once), or fewer than three.
struct EulerOrder {
    std::array<int, 3> axes{};
    int count = 0;
};

using EulerDegrees = std::array<double, 3>;

/// R(first) * R(second) * R(third), as a unit quaternion.
Quaternion composeEuler(const EulerOrder& order, const EulerDegrees& angles);

/// The angles whose rotation is `wanted`, or nearest to it with fewer than three axes. Among those that say
/// the same, the nearest to `near`; none is more than 180 degrees from its neighbour there.
EulerDegrees nearestEuler(const EulerOrder& order, const Quaternion& wanted, const EulerDegrees& near);

} // namespace formats
