// SPDX-License-Identifier: MIT
// Tags the joints of a human figure with their bone names.
#pragma once

#include "formats/HumanoidRoles.h"
#include "refhost/Scene.h"

#include <vector>

namespace refhost {

/// Sets the bone name tag of every item whose joint has a role with a name; null items are passed over.
/// False when the joints are no human figure. Throws ImportFault.
bool setBoneNames(Scene& scene, const std::vector<formats::RoleJoint>& joints,
                  const std::vector<Item*>& items);

} // namespace refhost
