// SPDX-License-Identifier: MIT
// A view of a scene: a camera over a rectangle of pixels, and the way from pixels to the world and back.
#pragma once

#include "refhost/Mesh.h"
#include "refhost/Transforms.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string_view>

namespace refhost {

class Scene;

enum class Camera : std::uint8_t { Front, Side, Top, Free };
inline constexpr const char* kCameraNames[] = {"front", "side", "top", "free"};
std::optional<Camera> cameraByName(std::string_view name);

enum class UpAxis : std::uint8_t { Y, Z };

/// Pixels count from the upper left corner of the rectangle, x to the right and y down.
using Pixel = std::array<double, 2>;

/// Looks along -z of its axes. Plain values; whoever shows the view may set each of them.
class View {
public:
    /// A view of 800 by 600 pixels that shows 2 units around the origin. Front, side and top are parallel
    /// projections from +z, +x and above (Y up) or from -y, +x and above (Z up); free is a perspective from
    /// the front, somewhat to the side and above.
    static View of(Camera camera, UpAxis up = UpAxis::Y);

    int width = 800; ///< pixels, 1 or more
    int height = 600;
    Matrix33 axes; ///< columns: right, up, and from the scene to the viewer; world
    Vector3 target{}; ///< world; in the middle of the rectangle
    double size = 2; ///< height of what is seen at the target, in the scene's unit; above 0
    bool perspective = false;
    double fieldOfView = 0.6; ///< of a perspective, from the lower to the upper edge; radians

    /// Unit vector along which the view looks.
    Vector3 direction() const;
    /// From the viewer to the target; a parallel projection has its viewer far outside.
    double distance() const;
    Vector3 eye() const;
    /// False, and `out` untouched, for a point beside or behind the eye.
    bool toScreen(const Vector3& world, Pixel& out) const;
    /// The ray through the pixel, from the eye or from the eye's plane.
    Ray ray(const Pixel& pixel) const;
    /// Size of a pixel at a place in the world, in the scene's unit; above 0.
    double pixelSize(const Vector3& world) const;

    /// Shows everything: meshes, joints of figures without a mesh and goals of the scene at this time, with a
    /// margin. False, and the view stays, when there is nothing of the kind.
    bool fit(Scene& scene, double timeSeconds);

private:
    /// Distance in front of the eye along the view.
    double depth(const Vector3& world) const;
};

} // namespace refhost
