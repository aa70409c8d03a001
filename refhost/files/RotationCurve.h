// SPDX-License-Identifier: MIT
// Turns rotations over time into keys of three angles.
#pragma once

#include "refhost/Keys.h"
#include "refhost/Transforms.h"

#include <array>
#include <functional>
#include <vector>

namespace refhost {

struct RotationCurve {
    int order = 0; ///< rotation order of the angles
    std::array<std::vector<Key>, 3> keys; ///< radians about x, y and z
};

/// A unit quaternion x, y, z, w at a time in seconds.
using RotationAt = std::function<std::array<double, 4>(double)>;

/// Keys at the given rising times and as many between them as it takes for straight lines between the angles
/// to stay within 0.01 degrees of the rotation; with `step` the values hold from key to key. The rotation
/// order is the one that stays farthest from its singular pose.
RotationCurve rotationCurve(const std::vector<double>& times, const RotationAt& rotation, bool step);

} // namespace refhost
