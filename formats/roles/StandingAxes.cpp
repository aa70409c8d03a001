// SPDX-License-Identifier: MIT
// Which way a figure stands and looks.
#include "formats/HumanoidRoles.h"
#include "roles/Points.h"

#include <cmath>

namespace formats {

namespace {

// A figure that stands within 30 degrees of its axes stands on them.
const double kSnap = std::cos(30 * kRadiansPerDegree);

Vector nearestAxis(const Vector& direction)
{
    std::size_t largest = 0;
    for (std::size_t axis = 1; axis < 3; ++axis)
        if (std::abs(direction[axis]) > std::abs(direction[largest]))
            largest = axis;
    Vector out{};
    out[largest] = direction[largest] < 0 ? -1 : 1;
    return out;
}

} // namespace

StandingAxes standingAxes(const HumanoidRoles& roles)
{
    const Vector up = nearestAxis(roles.up);
    const Vector forward = nearestAxis(across(roles.forward, up));
    if (dot(up, unit(roles.up)) > kSnap && dot(forward, unit(roles.forward)) > kSnap)
        return {cross(up, forward), up, forward};
    return {roles.left, roles.up, roles.forward};
}

} // namespace formats
