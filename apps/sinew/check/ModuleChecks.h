// SPDX-License-Identifier: MIT
// The checks of a module, by name.
#pragma once

#include <span>
#include <string>

namespace app {

struct ModuleCheck {
    const char* name;
    const char* promise; ///< what the module must do
    void (*run)(const std::string& path); ///< throws CheckFailure
};

/// In the order in which they run: a later check may rely on what an earlier one found.
std::span<const ModuleCheck> moduleChecks();

} // namespace app
