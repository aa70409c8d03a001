// SPDX-License-Identifier: MIT
// Bones as the nodes of a GLB that is being written.
#pragma once

#include "gltf/GlbBuilder.h"

#include <vector>

namespace formats {

/// Makes a node of every bone, which gets its index; the document must be empty. Returns the roots, which are
/// in no scene yet. Throws GltfRefusal for bones that are none.
std::vector<std::size_t> addBones(GlbBuilder& glb, const std::vector<GltfBone>& bones);

/// Makes the nodes the only scene.
void addScene(GlbBuilder& glb, const std::vector<std::size_t>& roots);

} // namespace formats
