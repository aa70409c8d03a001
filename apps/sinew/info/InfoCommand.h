// SPDX-License-Identifier: MIT
// `sinew info`: what is in a motion file.
#pragma once

#include "shared/MotionFile.h"

#include <string>

namespace app {

struct InfoOptions {
    MotionOptions motion;
    std::string pose; ///< a frame from 0, of glTF a time: list its world transforms in place of the summary
    std::string animation; ///< of glTF: name or index of the animation that `pose` is taken from
    bool json = false;
};

/// Prints the summary or a pose; throws BadInput.
int runInfo(const InfoOptions& options);

} // namespace app
