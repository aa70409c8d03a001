// SPDX-License-Identifier: MIT
// The human bones that a VRM file assigns.
#pragma once

#include "formats/HumanoidRoles.h"

namespace formats {

/// Takes the roles that the file states, which win over what was found. Joints that the file names keep no
/// other role, and what was found elsewhere for a stated role is dropped. False when the file states none.
bool takeVrmBones(const std::vector<RoleJoint>& joints, HumanoidRoles& roles);

} // namespace formats
