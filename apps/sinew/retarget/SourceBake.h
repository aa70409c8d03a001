// SPDX-License-Identifier: MIT
// Source joints without a partner, taken into account by their neighbours.
#pragma once

#include "retarget/RetargetFit.h"

#include <refhost/Scene.h>

#include <vector>

namespace app {

/// Evaluates the source at all times and changes it so that nothing that the target can't follow moves a
/// goal. Where the chain from a spine or neck joint to the next paired one has joints without a partner, a
/// locator is made that points along the chain; arms whose collar bone has no partner hang from the trunk
/// itself. Returns, for each pair, the item whose orientation drives the target's joint.
std::vector<refhost::Item*> bakeSkippedJoints(refhost::Scene& scene, const RestFigure& rest,
                                              const std::vector<refhost::Item*>& items, const JointMap& map,
                                              const std::vector<double>& times);

} // namespace app
