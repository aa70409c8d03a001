// SPDX-License-Identifier: MIT
// Pictures of a scene: a camera that sees all of it, floor, time labels, and sheets of several moments.
#pragma once

#include <render/Picture.h>
#include <render/SceneShapes.h>

#include <string>
#include <vector>

namespace app {

struct PictureSettings {
    refhost::Camera camera = refhost::Camera::Free;
    refhost::UpAxis up = refhost::UpAxis::Y;
    int width = 1280, height = 720; ///< pixels of the whole picture
    bool floor = true;
    render::SceneLook look;
};

/// The scene at the host's current time.
render::Image scenePicture(render::Studio& studio, refhost::Scene& scene, const PictureSettings& settings);

/// A sheet: so many moments from `first` to `last` seconds, in rows, each with its time. Leaves the host at
/// the time of the last.
render::Image sceneSheet(render::Studio& studio, refhost::Scene& scene, const PictureSettings& settings,
                         double first, double last, int count);

/// The latest key of the scene, in seconds; 0 without keys.
double lastKeyTime(const refhost::Scene& scene);

} // namespace app
