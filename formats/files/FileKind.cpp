// SPDX-License-Identifier: MIT
// GLB by its mark, glTF by its brace: a BVH file begins with neither.
#include "formats/FileKind.h"

#include <algorithm>

namespace formats {

bool isGltf(std::string_view bytes)
{
    const std::size_t first = bytes.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    bytes.remove_prefix(std::min(first, bytes.size()));
    return bytes.starts_with("glTF") || bytes.starts_with('{');
}

} // namespace formats
