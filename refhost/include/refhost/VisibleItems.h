// SPDX-License-Identifier: MIT
// What is to be seen of a scene: its meshes, the figures that have none, and goals.
#pragma once

#include "refhost/Mesh.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace refhost {

struct VisibleItems {
    enum class Look : std::uint8_t {
        Bone, ///< joint of a figure that no mesh shows
        Inside, ///< joint that moves points of a mesh, or stands below one that does
        Plain, ///< beside meshes: stands above a figure that one of them shows, or by itself
        Goal, ///< has a shape of its own
    };
    struct Locator {
        Item* item;
        Look look;
        Matrix34 world;
    };

    std::vector<std::shared_ptr<const DeformedMesh>> meshes;
    std::vector<Locator> locators; ///< with finite places; no solvers

    const Locator* find(const Item* item) const;
};

/// The items whose `visible` is on, at this time. Without `meshes` it is as if there were none.
VisibleItems visibleItems(Scene& scene, double timeSeconds, bool meshes = true);

} // namespace refhost
