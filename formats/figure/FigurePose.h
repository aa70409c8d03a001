// SPDX-License-Identifier: MIT
// A figure's joints in the space of their parents.
#pragma once

#include "bvh/Rotation.h"
#include "formats/Bvh.h"

namespace formats {

/// A transform in the space of another one.
inline LocalPose below(const WorldPose& parent, const WorldPose& world)
{
    const Quaternion back = conjugate(parent.rotation);
    const Vector step{world.position[0] - parent.position[0], world.position[1] - parent.position[1],
                      world.position[2] - parent.position[2]};
    return {rotate(back, step), multiply(back, world.rotation)};
}

} // namespace formats
