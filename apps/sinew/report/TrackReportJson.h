// SPDX-License-Identifier: MIT
// The track report for machines.
#pragma once

#include "report/TrackReport.h"
#include "shared/Json.h"

namespace app {

/// Everything in the report but the animation; lengths in file units, angles in degrees, times in seconds.
Json trackReportJson(const TrackReport& report);
/// The directions of a retargeted motion; empty for a tracked one.
Json directionsJson(const TrackReport& report);

} // namespace app
