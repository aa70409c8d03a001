// SPDX-License-Identifier: MIT
// Retargets one motion and measures the outcome.
#pragma once

#include "retarget/MotionOutput.h"
#include "retarget/RetargetReport.h"

#include <string>

namespace app {

struct RetargetRequest {
    RetargetSettings settings;
    MotionOutputSettings output;
    std::size_t animationFrames = 0; ///< keep at most so many frames for drawing; 0 keeps none
};

/// Drives the target from the source through the plug-in, frame by frame, and fills the report with what was
/// measured and written. Returns the bytes of the output. Throws BadInput for figures that can't be used.
std::string retargetMotion(const FigureFile& source, const FigureFile& target, const JointMap& map,
                           const RetargetRequest& request, RetargetReport& report);

} // namespace app
