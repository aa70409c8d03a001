// SPDX-License-Identifier: MIT
// The files that belong to a glTF file: buffers and images beside it.
#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace formats {

/// Paths of the files that a glTF file with these bytes in this folder names, buffers and images, as far as
/// they are there and would be opened. None for bytes of any other kind or such as can't be read, which their
/// reader tells better, and none without a folder.
std::vector<std::string> filesBeside(std::string_view bytes, const std::string& folder);

} // namespace formats
