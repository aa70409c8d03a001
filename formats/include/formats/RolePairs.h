// SPDX-License-Identifier: MIT
// Which joint of one figure drives which of another.
#pragma once

#include "formats/HumanoidRoles.h"

#include <vector>

namespace formats {

struct RolePair {
    int source = -1;
    int target = -1;
    JointRole role; ///< of the target joint
};

struct RolePairing {
    std::vector<RolePair> pairs; ///< in the order of roles; no joint of either side twice
    std::vector<int> sourceLeft; ///< joints of the body that found no partner
    std::vector<int> targetLeft;
};

/// Pairs joints of the same role. Of spines and necks of different length, the first and the last joints go
/// together and what lies between is spread out evenly. Roots, ends, twists and faces are nobody's partner.
RolePairing pairByRoles(const HumanoidRoles& source, const HumanoidRoles& target);

} // namespace formats
