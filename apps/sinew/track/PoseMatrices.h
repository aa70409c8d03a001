// SPDX-License-Identifier: MIT
// Between the poses of a motion and the matrices of the host.
#pragma once

#include "track/TrackSolver.h"

#include <refhost/Transforms.h>

#include <span>
#include <vector>

namespace app {

/// A pose's rotation as the angles in radians about x, y and z, in rotation order 0, that a locator is given.
refhost::Vector3 goalAngles(const Pose& goal);

/// Poses in the parents' space from world transforms. Bones below a root keep their rest translation, since
/// only roots move: the file's own numbers are the exact ones.
void localPoses(std::span<const TrackBone> bones, std::span<const refhost::Matrix34> world,
                std::span<Pose> local);

} // namespace app
