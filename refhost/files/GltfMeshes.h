// SPDX-License-Identifier: MIT
// A glTF file's meshes into a scene.
#pragma once

#include "formats/Gltf.h"
#include "refhost/Scene.h"

#include <vector>

namespace refhost {

/// Makes a mesh item for each node with a mesh, behind the other children of the node's root, and binds it to
/// the items of the joints, or of the node where there is no skin; throws ImportFault.
void importMeshes(Scene& scene, const formats::Gltf& gltf, const std::vector<Item*>& items);

} // namespace refhost
