// SPDX-License-Identifier: MIT
// `sinew info` of a scene file.
#pragma once

#include "info/InfoCommand.h"

#include <string_view>

namespace app {

/// Prints what the scene with this text holds; throws BadInput.
int runSceneInfo(const InfoOptions& options, std::string_view text);

} // namespace app
