// SPDX-License-Identifier: MIT
// Projection of a view and its inverse.
#include "refhost/View.h"

#include "channels/Vectors.h"
#include "refhost/DrawingPackage.h"
#include "refhost/Evaluation.h"
#include "refhost/Host.h"

#include <algorithm>
#include <limits>

namespace refhost {
namespace {

/// Turns about up and then tilts of the free view, radians.
constexpr double kFreeTurn = 0.5, kFreeTilt = 0.2;
/// The viewer of a parallel projection stands so many heights away.
constexpr double kFarHeights = 1000;
constexpr double kMargin = 1.15;

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

void VisibleBox::include(const Vector3& point)
{
    for (std::size_t a = 0; a < 3 && isFinite(point); ++a) {
        low[a] = empty ? point[a] : std::min(low[a], point[a]);
        high[a] = empty ? point[a] : std::max(high[a], point[a]);
    }
    empty = empty && !isFinite(point);
}

VisibleBox visibleBox(Scene& scene, double time)
{
    VisibleBox box;
    for (Item* item : scene.itemsOfType(scene.host().meshType())) {
        const auto mesh = MeshPoses::of(scene).at(*item, time);
        if (!mesh || mesh->points.empty())
            continue;
        box.include({mesh->low[0], mesh->low[1], mesh->low[2]});
        box.include({mesh->high[0], mesh->high[1], mesh->high[2]});
    }
    const bool anyMesh = !box.empty;
    for (Item* item : scene.itemsOfType(scene.host().locatorType())) {
        Matrix34 place;
        if ((!anyMesh || item->hasPackage(kDrawingPackage))
            && Evaluation::of(scene).matrix(*item->channel("wposMatrix"), time, place))
            box.include(place.offset);
    }
    return box;
}

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

void View::fit(Scene& scene, double timeSeconds)
{
    const VisibleBox box = visibleBox(scene, timeSeconds);
    if (box.empty)
        return;
    target = times(plus(box.low, box.high), 0.5);
    double wide = 0, tall = 0;
    for (int corner = 0; corner < 8; ++corner) {
        const Vector3 from =
            minus({corner & 1 ? box.high[0] : box.low[0], corner & 2 ? box.high[1] : box.low[1],
                   corner & 4 ? box.high[2] : box.low[2]},
                  target);
        wide = std::max(wide, 2 * std::abs(dot(from, column(axes, 0))));
        tall = std::max(tall, 2 * std::abs(dot(from, column(axes, 1))));
    }
    const double needed = std::max(tall, wide * height / width) * kMargin;
    size = needed > 0 ? needed : 1;
}

} // namespace refhost
