// SPDX-License-Identifier: MIT
// The shapes of a scene at one time: skeletons, meshes, goals and what its items draw.
#pragma once

#include "render/Shapes.h"

#include <refhost/Framing.h>

namespace render {

struct SceneLook {
    enum class Skeleton : std::uint8_t {
        Auto, ///< of figures without a mesh; within a mesh as thin lines
        On,
        Off
    };
    Skeleton skeleton = Skeleton::Auto;
    bool meshes = true;
    bool items = true; ///< what items draw themselves: chains, limits
    bool goals = true; ///< locators that the drawing package gave a shape
    bool handles = false; ///< of the tool in use, at the host's current time
};

/// Everything visible at this time.
Shapes sceneShapes(refhost::Scene& scene, double timeSeconds, const refhost::View& view,
                   const SceneLook& look = {});

/// What the view has to show so that all of these shapes lie in it, with their widths in pixels.
refhost::Framing framingOf(const refhost::View& view, const Shapes& shapes);

/// Moves the view, turned as it is, so that all shapes of the scene at this time lie in it with a margin. A
/// scene that shows nothing leaves a view of its joints, or the view as it was.
refhost::Framing frameScene(refhost::Scene& scene, double timeSeconds, refhost::View& view,
                            const SceneLook& look = {});

} // namespace render
