// SPDX-License-Identifier: MIT
// The shapes of a scene at one time: skeletons, meshes, goals and what its items draw.
#pragma once

#include "render/Shapes.h"

#include <refhost/View.h>

namespace render {

struct SceneLook {
    enum class Skeleton : std::uint8_t {
        Auto, ///< where the scene has no mesh; through the mesh, as thin lines, where it has one
        On,
        Off
    };
    Skeleton skeleton = Skeleton::Auto;
    bool meshes = true;
    bool items = true; ///< what items draw themselves: chains, limits
    bool goals = true; ///< locators that the drawing package gave a shape
};

/// Everything visible, at the host's current time.
Shapes sceneShapes(refhost::Scene& scene, const refhost::View& view, const SceneLook& look = {});

} // namespace render
