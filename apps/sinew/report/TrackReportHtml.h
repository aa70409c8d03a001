// SPDX-License-Identifier: MIT
// The track report as one self-contained page: figure in motion, plots and tables, nothing from a network.
#pragma once

#include "report/TrackReport.h"

#include <string>
#include <string_view>

namespace app {

/// The page; the report must hold an animation.
std::string trackReportHtml(const TrackReport& report);

// The parts of the page, made from the files in page/ by the build.
extern const std::string_view kReportPageHTML;
extern const std::string_view kReportPageCSS;
extern const std::string_view kReportPageJS;

} // namespace app
