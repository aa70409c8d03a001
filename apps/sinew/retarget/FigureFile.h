// SPDX-License-Identifier: MIT
// A motion or character file with what is known of the figure in it.
#pragma once

#include "formats/Bvh.h"
#include "formats/Gltf.h"
#include "formats/HumanoidRoles.h"

#include <string>
#include <variant>
#include <vector>

namespace app {

struct FigureFile {
    std::string path;
    std::variant<formats::BvhMotion, formats::Gltf> content;
    std::vector<formats::RoleJoint> joints; ///< one for each joint or node of the file, at rest
    formats::HumanoidRoles roles;
    std::vector<std::string> warnings;

    bool isGltf() const { return content.index() == 1; }
    const formats::BvhMotion& bvh() const { return std::get<0>(content); }
    const formats::Gltf& gltf() const { return std::get<1>(content); }
    const std::string& name(int joint) const { return joints[static_cast<std::size_t>(joint)].name; }
};

struct FigureOptions {
    std::string offsets = "guess"; ///< for BVH: guess, replace or add
};

/// Reads a BVH or glTF file by its content; throws BadInput where it is of no use.
FigureFile readFigure(const std::string& path, const FigureOptions& options = {});

} // namespace app
