// SPDX-License-Identifier: MIT
// What the texts of `sinew info` share, whatever the format of the file.
#pragma once

#include "formats/Bvh.h"

#include <string>
#include <vector>

namespace app {

/// The name, printable, moved in by its level in the hierarchy.
std::string indentedName(const std::string& name, std::size_t level);

/// A row for each name: world position, and rotation as x, y, z, w.
std::string poseTable(const std::vector<std::string>& names, const std::vector<formats::WorldPose>& world);

} // namespace app
