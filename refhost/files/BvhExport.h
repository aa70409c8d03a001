// SPDX-License-Identifier: MIT
// The scene's motion of an imported BVH file back into its channels.
#pragma once

#include "files/ExportFigure.h"

#include "formats/Bvh.h"

#include <vector>

namespace refhost {

struct BvhExport {
    formats::BvhMotion motion;
    formats::BvhWriteOptions options; ///< numbers that are the file's own keep all their digits
};

/// The figure has been evaluated at these times, which lie `frameSeconds` apart and become the frames. With
/// `anyPose` every joint gets all channels.
BvhExport exportBvh(const ExportFigure& figure, const std::vector<double>& times, double frameSeconds,
                    bool anyPose, MotionExport& done);

} // namespace refhost
