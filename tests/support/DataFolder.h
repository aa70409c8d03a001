// SPDX-License-Identifier: MIT
// Where real files with expected values lie: outside of the project, so tests that need them may have to
// skip.
#pragma once

#include <cstdlib>
#include <filesystem>

namespace support {

/// The folder that the environment variable SINEW_DATA names, else the build's default.
inline std::filesystem::path dataFolder()
{
    const char* chosen = std::getenv("SINEW_DATA");
    return chosen && *chosen ? chosen : SINEW_DATA_DIR;
}

} // namespace support
