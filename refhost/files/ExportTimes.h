// SPDX-License-Identifier: MIT
// From when to when a figure moves, and at which times it has to be keyed.
#pragma once

#include "refhost/MotionImport.h"
#include "refhost/Scene.h"

#include <optional>
#include <vector>

namespace refhost {

/// When an imported figure moves, and whatever it follows.
struct ExportTimes {
    double from = 0, to = 0; ///< seconds, of all keys; both 0 where nothing has keys
    double frameSeconds = 0; ///< between the frames of the motion that it follows; 0 where there is none
    std::vector<double> times; ///< the frames of all imported motions, and other keys, gaps filled

    /// The times from `from` to `to`, both included; with a rate so many a second instead, from `from` on.
    std::vector<double> within(std::optional<double> rate) const;
};

/// Of the figure alone, or with all that it is linked with.
ExportTimes exportTimes(Scene& scene, const MotionSource& source, bool withLinks);

/// The imported file that an item keeps; null where it keeps none.
const MotionSource* motionSourceOf(const Item& item);

} // namespace refhost
