// SPDX-License-Identifier: MIT
// Projection of a view and its inverse.
#include "refhost/View.h"

#include "channels/Vectors.h"
#include "refhost/Framing.h"
#include "refhost/VisibleItems.h"

#include <algorithm>

namespace refhost {
namespace {

/// Turns about up and then tilts of the free view, radians.
constexpr double kFreeTurn = 0.5, kFreeTilt = 0.2;
/// The viewer of a parallel projection stands so many heights away.
constexpr double kFarHeights = 1000;

struct CameraRow {
    Vector3 viewer[2]; ///< from the scene, by up axis
    Vector3 up[2];
};
constexpr CameraRow kCameras[] = {
    {{{0, 0, 1}, {0, -1, 0}}, {{0, 1, 0}, {0, 0, 1}}},
    {{{1, 0, 0}, {1, 0, 0}}, {{0, 1, 0}, {0, 0, 1}}},
    {{{0, 1, 0}, {0, 0, 1}}, {{0, 0, -1}, {0, 1, 0}}},
    {{{0, 0, 1}, {0, -1, 0}}, {{0, 1, 0}, {0, 0, 1}}},
};

Matrix33 axesFrom(const Vector3& viewer, const Vector3& up)
{
    const Vector3 right = cross(up, viewer);
    Matrix33 axes;
    for (std::size_t r = 0; r < 3; ++r) {
        axes.m[r][0] = right[r];
        axes.m[r][1] = up[r];
        axes.m[r][2] = viewer[r];
    }
    return axes;
}

} // namespace

std::optional<Camera> cameraByName(std::string_view name)
{
    const auto* found = std::find(std::begin(kCameraNames), std::end(kCameraNames), name);
    return found == std::end(kCameraNames) ? std::nullopt
                                           : std::optional(static_cast<Camera>(found - kCameraNames));
}

View View::of(Camera camera, UpAxis up)
{
    const CameraRow& row = kCameras[static_cast<int>(camera)];
    const auto u = static_cast<std::size_t>(up);
    View view;
    view.axes = axesFrom(row.viewer[u], row.up[u]);
    if (camera == Camera::Free) {
        view.perspective = true;
        // About the view's own axes, tilted first: up stays up.
        view.axes = view.axes * matrixFromEuler({-kFreeTilt, kFreeTurn, 0}, 0);
    }
    return view;
}

Vector3 View::direction() const { return times(column(axes, 2), -1); }

double View::distance() const
{
    return perspective ? size / 2 / std::tan(fieldOfView / 2) : size * kFarHeights;
}

Vector3 View::eye() const { return plus(target, times(column(axes, 2), distance())); }

double View::depth(const Vector3& world) const { return distance() + dot(minus(world, target), direction()); }

bool View::toScreen(const Vector3& world, Pixel& out) const
{
    if (!isFinite(world) || (perspective && !(depth(world) > 0)))
        return false;
    const Vector3 from = minus(world, target);
    const double pixel = pixelSize(world);
    out = {width / 2.0 + dot(from, column(axes, 0)) / pixel,
           height / 2.0 - dot(from, column(axes, 1)) / pixel};
    return true;
}

Ray View::ray(const Pixel& pixel) const
{
    const double step = size / height;
    const Vector3 aside = plus(times(column(axes, 0), (pixel[0] - width / 2.0) * step),
                               times(column(axes, 1), (height / 2.0 - pixel[1]) * step));
    if (!perspective)
        return {plus(eye(), aside), direction()};
    const Vector3 through = plus(aside, times(direction(), distance()));
    return {eye(), times(through, 1 / length(through))};
}

double View::pixelSize(const Vector3& world) const
{
    if (!perspective)
        return size / height;
    const double smallest = distance() * 1e-6; // in front of the eye, if only just
    return size / height * std::max(depth(world), smallest) / distance();
}

bool View::fit(Scene& scene, double timeSeconds)
{
    Framing framing(*this);
    const VisibleItems visible = visibleItems(scene, timeSeconds);
    for (const auto& mesh : visible.meshes)
        for (const Vector3f& point : mesh->points)
            framing.include({point[0], point[1], point[2]});
    for (const VisibleItems::Locator& locator : visible.locators)
        if (visible.meshes.empty() || locator.look == VisibleItems::Look::Bone
            || locator.look == VisibleItems::Look::Goal)
            framing.include(locator.world.offset);
    framing.apply(*this);
    return !framing.isEmpty();
}

} // namespace refhost
