// SPDX-License-Identifier: MIT
// A solid shape for every bone of a skeleton, so that it can be seen.
#pragma once

#include "formats/GltfWriter.h"

#include <cstdint>
#include <vector>

namespace formats {

/// Triangles with vertices of their own, so that every face is flat.
struct BoneBody {
    std::vector<float> positions; // three a vertex, world space of the rest pose
    std::vector<float> normals; // three a vertex
    std::vector<std::uint16_t> joints; // the bone that a vertex follows
};

/// An octahedron from every bone to each of its children, and a stub where there are none; never empty.
BoneBody bodyOfBones(const std::vector<GltfBone>& bones, const std::vector<GltfMatrix>& world);

} // namespace formats
