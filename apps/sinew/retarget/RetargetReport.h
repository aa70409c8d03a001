// SPDX-License-Identifier: MIT
// The numbers of a retargeted motion: goals, directions of the limbs, steps, feet on the floor.
#pragma once

#include "report/TrackReport.h"
#include "retarget/JointMap.h"
#include "shared/Json.h"

#include <optional>
#include <string>
#include <vector>

namespace app {

/// A foot in the frames in which the source's stands.
struct FootReport {
    std::string name;
    std::size_t stances = 0; ///< unbroken stretches of frames
    std::size_t frames = 0;
    // Shares of the target's height.
    double sourceSlide = 0, targetSlide = 0; ///< way over the floor in a stance, the mean over stances
    double worstTargetSlide = 0; ///< the longest
    double sourceDepth = 0, targetDepth = 0; ///< of the sole below the floor, the worst
};

/// Limits that the user states; a missed one makes the exit code 1.
struct RetargetLimits {
    std::optional<double> directionMean, directionWorst; ///< degrees, of every limb, trunk and head
    std::optional<double> footMean, handMean; ///< percent of the target's height
    std::optional<double> stepRatio; ///< largest joint step to the source's
};

struct RetargetReport {
    TrackReport motion; ///< what a tracked motion has too; figure, units and goals are the target's
    std::string target;
    std::string mapTable;
    std::size_t pairCount = 0;
    double legScale = 1, armScale = 1;
    std::vector<FootReport> feet;
    std::size_t limitsExceeded = 0; ///< joints in frames outside their limits
    std::size_t limitedJoints = 0; ///< joints that have limits
    RetargetLimits limits;

    double stepRatio() const;
};

/// Fills `motion.missed` and the further lines of the page.
void judge(RetargetReport& report);

std::string retargetReportText(const RetargetReport& report);
Json retargetReportJson(const RetargetReport& report);

} // namespace app
