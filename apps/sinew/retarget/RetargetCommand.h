// SPDX-License-Identifier: MIT
// The subcommand `retarget`: drives a character from the motion of another one.
#pragma once

#include "retarget/RetargetReport.h"
#include "retarget/RetargetScene.h"
#include "shared/Batch.h"

#include <string>
#include <vector>

namespace app {

struct RetargetOptions {
    std::vector<std::string> files; ///< one source or several, then the target
    std::string output; ///< a file, `-`, or for several sources a folder
    std::string format; ///< bvh or glb: what `-` gets; empty: as the target
    std::string map, writeMap;
    std::string offsets = "guess";
    std::string htmlFile, jsonFile;
    bool json = false;
    BatchOptions batch; ///< for several sources
    RetargetSettings settings;
    RetargetLimits limits;
};

/// Runs the subcommand and returns its exit code; throws BadInput.
int runRetarget(const RetargetOptions& options);

} // namespace app
