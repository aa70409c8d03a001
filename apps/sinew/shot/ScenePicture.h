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
/// auto, on or off; false for anything else.
bool skeletonFromText(std::string_view text, PictureSettings& settings);

/// The scene at this time through `view`; without one through the settings' camera, such that all is seen.
render::Image scenePicture(render::Studio& studio, refhost::Scene& scene, double time,
                           const PictureSettings& settings, const refhost::View* view = nullptr);

/// A sheet: so many moments from `first` to `last` seconds, in rows at one scale, each with its time. Throws
/// RenderError where they don't fit into the picture.
render::Image sceneSheet(render::Studio& studio, refhost::Scene& scene, const PictureSettings& settings,
                         double first, double last, int count);

/// The latest key of the scene, in seconds; 0 without keys.
double lastKeyTime(const refhost::Scene& scene);

/// Most moments of a sheet.
inline constexpr int kMostMoments = 400;

} // namespace app
