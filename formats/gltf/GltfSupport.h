// SPDX-License-Identifier: MIT
// Which versions and extensions of glTF the reader can take.
#pragma once

#include "gltf/GltfJson.h"

namespace formats {

/// Refuses other versions, and files that cannot be read right without an extension that is not known here.
void checkVersionAndExtensions(const JsonView& root);

} // namespace formats
