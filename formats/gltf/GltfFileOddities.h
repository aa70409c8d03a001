// SPDX-License-Identifier: MIT
// What is not as glTF demands in the file itself, whatever it says.
#pragma once

#include "gltf/GltfContainer.h"

namespace formats {

/// Notes empty arrays, buffers and images that share bytes or say what they are not, and accessors that begin
/// off their grid. Takes nothing for granted but that the buffers were found.
void noteFileOddities(const GltfSource& source, std::vector<GltfNote>& notes);

} // namespace formats
