// SPDX-License-Identifier: MIT
// Tells the fingers of a hand apart.
#pragma once

#include "roles/SkeletonTree.h"

#include <vector>

namespace formats {

struct FingerRole {
    int joint = -1;
    JointRole role;
};

/// Roles of what hangs below a hand: fingers by name, or by their place on the hand where five have none.
std::vector<FingerRole> findFingers(const SkeletonTree& tree, int hand, Side side);

} // namespace formats
