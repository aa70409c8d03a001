// SPDX-License-Identifier: MIT
// Which format a file's bytes are of.
#pragma once

#include <string_view>

namespace formats {

/// Whether the bytes are glTF, binary or text, rather than BVH; names lie, bytes don't.
bool isGltf(std::string_view bytes);

} // namespace formats
