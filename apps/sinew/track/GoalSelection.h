// SPDX-License-Identifier: MIT
// Chooses the joints whose motion becomes the goals of a solve.
#pragma once

#include "track/TrackMotion.h"

#include <cstddef>
#include <string>
#include <vector>

namespace app {

struct Goal {
    std::size_t joint = 0; ///< index in the motion's joints
    bool position = true;
    bool rotation = false;
    std::string role; ///< `left hand` and the like; `end of a limb` where only the tree's shape tells; empty
                      ///< as asked for
};

struct GoalChoice {
    std::vector<Goal> goals; ///< no joint twice
    std::vector<std::string> notes; ///< what the user should know of the choice
};

/// Hands, feet and head of every figure in the file, as known or by name; where some of them have no name,
/// the ends of the limbs that hold no named one. A figure always gets a goal.
GoalChoice chooseGoals(const std::vector<TrackJoint>& joints);

/// The goals that the user names, `JOINT` or `JOINT:pos|rot|both`; throws BadInput for a joint that isn't
/// there.
GoalChoice namedGoals(const std::vector<TrackJoint>& joints, const std::vector<std::string>& texts);

/// The root above each joint.
std::vector<std::size_t> rootsOf(const std::vector<TrackJoint>& joints);

} // namespace app
