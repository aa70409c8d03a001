// SPDX-License-Identifier: MIT
// The track report for machines.
#pragma once

#include "shared/Json.h"
#include "report/TrackReport.h"

namespace app {

/// Everything in the report but the animation; lengths in file units, angles in degrees, times in seconds.
Json trackReportJson(const TrackReport& report);

} // namespace app
