// SPDX-License-Identifier: MIT
// Pictures of a scene: a camera that sees all of it, floor, time labels, and sheets of several moments.
#pragma once

#include <render/Picture.h>
#include <render/SceneShapes.h>

#include <string>
#include <string_view>

namespace app {

struct PictureSettings {
    refhost::Camera camera = refhost::Camera::Free;
    refhost::UpAxis up = refhost::UpAxis::Y;
    int width = 1280, height = 720; ///< pixels of the whole picture
    bool floor = true;
    render::SceneLook look;
};

/// What pictureSizeFromText takes, for messages.
inline constexpr const char* kPictureSizes = "width and height in pixels, 16x16 to 8192x8192, as in 1280x720";
/// `WIDTHxHEIGHT`; false, and the settings in no certain state, for anything else.
bool pictureSizeFromText(std::string_view text, PictureSettings& settings);

/// The settings' camera, such that it sees all of the scene at the host's current time.
refhost::View fittedView(refhost::Scene& scene, const PictureSettings& settings);

/// The scene and the handles of the tool in use, through this view.
render::Image toolPicture(render::Studio& studio, refhost::Scene& scene, const PictureSettings& settings,
                          const refhost::View& view);

/// The scene at the host's current time.
render::Image scenePicture(render::Studio& studio, refhost::Scene& scene, const PictureSettings& settings);

/// A sheet: so many moments from `first` to `last` seconds, in rows, each with its time. Leaves the host at
/// the time of the last.
render::Image sceneSheet(render::Studio& studio, refhost::Scene& scene, const PictureSettings& settings,
                         double first, double last, int count);

/// The latest key of the scene, in seconds; 0 without keys.
double lastKeyTime(const refhost::Scene& scene);

} // namespace app
