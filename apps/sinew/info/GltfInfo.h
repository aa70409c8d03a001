// SPDX-License-Identifier: MIT
// `sinew info` of a glTF file.
#pragma once

#include "info/InfoCommand.h"

namespace app {

/// Prints the summary or a pose; throws BadInput.
int runGltfInfo(const InfoOptions& options);

} // namespace app
