// SPDX-License-Identifier: MIT
// The version of the program.
#pragma once

namespace app {

inline constexpr const char* kVersion = "0.1.0";

} // namespace app
