// SPDX-License-Identifier: MIT
// Many sources onto one target.
#pragma once

#include "retarget/RetargetCommand.h"

namespace app {

/// Retargets every source into the output folder, each in a process of its own: a module keeps one context
/// for the whole process. What is done and unchanged is left alone. Returns the exit code: 2 when a source
/// could not be used, 1 when a limit was missed.
int runRetargetBatch(const RetargetOptions& options);

} // namespace app
