// SPDX-License-Identifier: MIT
// Distances on the screen between a pixel and what is drawn there.
#include "tool/HitTest.h"

#include "channels/Vectors.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace refhost {
namespace {

constexpr double kReach = 3; ///< pixels around lines and small handles

double distance(const Pixel& a, const Pixel& b) { return std::hypot(a[0] - b[0], a[1] - b[1]); }

double distanceToSegment(const Pixel& p, const Pixel& a, const Pixel& b)
{
    const double x = b[0] - a[0], y = b[1] - a[1];
    const double square = x * x + y * y;
    const double along = square > 0 ? ((p[0] - a[0]) * x + (p[1] - a[1]) * y) / square : 0;
    const double t = std::clamp(along, 0.0, 1.0);
    return distance(p, {a[0] + t * x, a[1] + t * y});
}

struct Nearness {
    double pixels = std::numeric_limits<double>::infinity();
    double depth = 0;
    bool operator<(const Nearness& other) const
    {
        return pixels != other.pixels ? pixels < other.pixels : depth < other.depth;
    }
};

/// Nothing nearer than infinity for an element that is not hit.
Nearness shapeNearness(const DrawElement& element, const View& view, const Pixel& pixel)
{
    const Vector3 centre = transformPoint(element.transform, element.centre);
    Vector3 edge{};
    edge[static_cast<std::size_t>((element.axis + 1) % 3)] = element.radius;
    const double radius = length(element.transform.linear * edge) / view.pixelSize(centre);
    Pixel place;
    if (!view.toScreen(centre, place) || !(distance(place, pixel) <= std::max(radius, kReach)))
        return {};
    return {distance(place, pixel), dot(minus(centre, view.eye()), view.direction())};
}

Nearness strokeNearness(const DrawElement& element, const View& view, const Pixel& pixel)
{
    const std::vector<Vector3> points = worldOutline(element);
    const bool pairs = element.kind == DrawKind::Lines, single = element.kind == DrawKind::Points;
    Nearness best;
    for (std::size_t i = 0; i < points.size(); i += pairs ? 2 : 1) {
        const std::size_t j = single ? i : i + 1;
        Pixel a, b;
        if (j >= points.size() || !view.toScreen(points[i], a) || !view.toScreen(points[j], b))
            continue;
        const Nearness here{distanceToSegment(pixel, a, b),
                            dot(minus(points[i], view.eye()), view.direction())};
        if (here.pixels <= std::max(static_cast<double>(element.width) / 2, kReach) && here < best)
            best = here;
    }
    return best;
}

} // namespace

const DrawElement* elementAt(const DrawingList& list, const View& view, const Pixel& pixel)
{
    const DrawElement* found = nullptr;
    Nearness best;
    for (const DrawElement& element : list.elements) {
        const bool isRound = element.kind == DrawKind::Disc || element.kind == DrawKind::Circle;
        const Nearness here =
            isRound ? shapeNearness(element, view, pixel) : strokeNearness(element, view, pixel);
        if (here < best) {
            best = here;
            found = &element;
        }
    }
    return found;
}

int partAt(const DrawingList& list, const View& view, const Pixel& pixel)
{
    const DrawElement* element = elementAt(list, view, pixel);
    return element ? static_cast<int>(element->part) : -1;
}

} // namespace refhost
