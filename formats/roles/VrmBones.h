// SPDX-License-Identifier: MIT
// The human bones that a VRM file assigns.
#pragma once

#include "formats/HumanoidRoles.h"

#include <string>
#include <vector>

namespace formats {

/// Takes the roles that the file states, which win over what was found. Joints that the file names keep no
/// other role, and what was found elsewhere for a stated role is dropped. False when the file states none.
bool takeVrmBones(const std::vector<RoleJoint>& joints, HumanoidRoles& roles);

/// The bone that VRM 1 calls a joint of this role, one for each joint; empty where it has none. Of a spine
/// with more joints than VRM knows the first, the middle and the last are taken.
std::vector<std::string> vrmBones(const HumanoidRoles& roles);

} // namespace formats
