// SPDX-License-Identifier: MIT
// Skeletons and expected roles as the tests keep them: text tables in tests/data.
#pragma once

#include "formats/HumanoidRoles.h"

#include <string>
#include <vector>

namespace formats {

/// A skeleton with the role that each joint should get, as `roleText` says it; `*` allows any.
struct RoleTable {
    std::string name;
    std::vector<RoleJoint> joints;
    std::vector<std::string> expected;
};

/// Every table in tests/data/skeletons, in the order of their names.
std::vector<RoleTable> skeletonTables();

/// The sample files that are there, with the roles from tests/data/roles; empty without the sample files.
std::vector<RoleTable> sampleTables();

/// Joints of a sample file, which must be there.
std::vector<RoleJoint> sampleJoints(const std::string& name);

/// The path of a sample file, whether or not it is there.
std::string samplePath(const std::string& name);

} // namespace formats
