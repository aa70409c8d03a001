// SPDX-License-Identifier: MIT
// Opens the file that `track` was given, BVH or glTF, and says what is known of it.
#pragma once

#include "report/TrackReport.h"
#include "track/TrackCommand.h"
#include "track/TrackMotion.h"

#include <memory>

namespace app {

/// Reads the motion from the file's bytes and fills the part of `report` that tells of the file: frames,
/// figure, oddities. Throws BadInput where the file has no motion, an option doesn't fit its format, or `-o`
/// names another format.
std::unique_ptr<TrackMotion> openTrackMotion(const TrackOptions& options, std::string_view bytes,
                                             TrackReport& report);

} // namespace app
