// SPDX-License-Identifier: MIT
// Puts a clip into a GLB that is being written.
#pragma once

#include "gltf/GlbBuilder.h"

namespace formats {

/// Adds an animation, or puts the clip into the place of one, with the channels of its base that it says
/// nothing about. `source` is the file that the GLB was read from; null for one without a base. Nothing
/// happens for a clip that says nothing. Throws GltfRefusal where it cannot be written.
void addClip(GlbBuilder& glb, const GltfClip& clip, std::size_t nodeCount,
             const GltfWriteOptions& options = {}, const GltfSource* source = nullptr);

} // namespace formats
