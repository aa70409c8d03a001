// SPDX-License-Identifier: MIT
// `sinew info` of a glTF file.
#pragma once

#include "info/InfoCommand.h"

#include <string_view>

namespace app {

/// Prints the summary or a pose of the file with these bytes; throws BadInput.
int runGltfInfo(const InfoOptions& options, std::string_view bytes);

} // namespace app
