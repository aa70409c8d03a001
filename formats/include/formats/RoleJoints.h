// SPDX-License-Identifier: MIT
// The joints of a motion file, as finding roles needs them.
#pragma once

#include "formats/Bvh.h"
#include "formats/Gltf.h"
#include "formats/HumanoidRoles.h"

#include <vector>

namespace formats {

/// Joints at rest, one for each of the file's.
std::vector<RoleJoint> roleJoints(const BvhMotion& motion);

/// Nodes at rest, one for each of the file's, with the bones that it assigns. Nodes that are no part of the
/// skeleton, such as meshes and cameras, count as end points.
std::vector<RoleJoint> roleJoints(const Gltf& gltf);

} // namespace formats
