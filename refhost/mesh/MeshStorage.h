// SPDX-License-Identifier: MIT
// How geometry stands in a scene file.
#pragma once

#include "refhost/Mesh.h"
#include "refhost/SceneFile.h"

namespace refhost {

DataKind meshDataKind();
/// Counts for people, and every number in bytes.
StoredData storedMesh(const MeshData& data);

} // namespace refhost
