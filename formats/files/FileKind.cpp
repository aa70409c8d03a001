// SPDX-License-Identifier: MIT
// GLB by its mark, glTF by its brace: a BVH file begins with neither.
#include "formats/FileKind.h"

namespace formats {

bool isGltf(std::string_view bytes)
{
    const std::size_t first = bytes.find_first_not_of("\xEF\xBB\xBF \t\r\n");
    return bytes.starts_with("glTF") || (first != std::string_view::npos && bytes[first] == '{');
}

} // namespace formats
