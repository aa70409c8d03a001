// SPDX-License-Identifier: MIT
// What is kept of a deformed mesh until something that it rests on moves.
#pragma once

#include "mesh/MeshTree.h"

namespace refhost {

struct MeshPoses::Pose {
    ItemId item = 0;
    Matrix34 own;
    std::vector<MapPlace> places;
    std::shared_ptr<const DeformedMesh> deformed;
    std::vector<MeshBox> boxes; ///< of the tree's nodes; empty until a ray asks
};

} // namespace refhost
