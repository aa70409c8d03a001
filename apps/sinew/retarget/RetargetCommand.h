// SPDX-License-Identifier: MIT
// The subcommand `retarget`: drives a character from the motion of another one.
#pragma once

#include "retarget/RetargetReport.h"
#include "retarget/RetargetScene.h"

#include <string>
#include <vector>

namespace app {

struct RetargetOptions {
    std::vector<std::string> files; ///< one source or several, then the target
    std::string output; ///< a file, `-`, or for several sources a folder
    std::string format; ///< bvh, glb, vrm or vrma: what `-` gets; empty: as the target
    std::string map, writeMap;
    std::string offsets = "guess";
    std::string htmlFile, jsonFile;
    bool json = false;
    bool again = false; ///< several sources: also those that are done
    std::size_t jobs = 0; ///< 0: one for each core
    bool append = false; ///< of a glTF target: adds an animation and replaces none
    std::string targetAnimation; ///< of a glTF target: which one is replaced; empty: the first
    bool body = false; ///< a BVH target written as GLB gets a simple body
    RetargetSettings settings;
    RetargetLimits limits;
};

/// Runs the subcommand and returns its exit code; throws BadInput.
int runRetarget(const RetargetOptions& options);

} // namespace app
