// SPDX-License-Identifier: MIT
// A motion or character file with what is known of the figure in it.
#pragma once

#include "formats/Bvh.h"
#include "formats/Gltf.h"
#include "formats/HumanoidRoles.h"
#include "shared/Files.h"

#include <string>
#include <variant>
#include <vector>

namespace app {

struct FigureFile {
    std::string path; ///< as messages call it
    std::variant<formats::BvhMotion, formats::Gltf> content;
    std::vector<formats::RoleJoint> joints; ///< one for each joint or node of the file, at rest
    formats::HumanoidRoles roles;
    std::vector<std::string> warnings;

    bool isGltf() const { return content.index() == 1; }
    const formats::BvhMotion& bvh() const { return std::get<0>(content); }
    const formats::Gltf& gltf() const { return std::get<1>(content); }
    const std::string& name(int joint) const { return joints[static_cast<std::size_t>(joint)].name; }
};

/// Reads a BVH or glTF file, or for `-` the standard input, by its content; throws BadInput where it is of no
/// use.
/// See readInput for `outputs`; `offsets` is for BVH: guess, replace or add.
FigureFile readFigure(const NamedFile& input, const std::vector<NamedFile>& outputs = {},
                      const std::string& offsets = "guess");

} // namespace app
