// SPDX-License-Identifier: MIT
// Which format a file's bytes are of.
#pragma once

#include <string>
#include <string_view>

namespace formats {

/// Whether the bytes are glTF, binary or text, rather than BVH; names lie, bytes don't.
bool isGltf(std::string_view bytes);

/// What bytes that are neither BVH nor glTF seem to be, and what is read instead, as in `this is a PNG
/// picture; what is read is BVH, ...`.
std::string notReadText(std::string_view bytes);

} // namespace formats
