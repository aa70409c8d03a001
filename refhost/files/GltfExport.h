// SPDX-License-Identifier: MIT
// The scene's motion of an imported glTF file back into it.
#pragma once

#include "files/ExportFigure.h"
#include "files/ExportTimes.h"

#include <string>

namespace refhost {

/// The figure has been evaluated at `times`. Counts what changed and appends notes; `animation` becomes the
/// index of the clip.
ResultOf<std::string> exportGltf(const ExportFigure& figure, const MotionExportOptions& options,
                                 const std::vector<double>& times, std::size_t& animation,
                                 MotionExport& done);

} // namespace refhost
