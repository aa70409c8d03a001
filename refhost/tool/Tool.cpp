// SPDX-License-Identifier: MIT
// Events of tools: the pointer's way on a plane, what lies under it, and the table of gestures.
#include "refhost/Tool.h"

#include "channels/Vectors.h"

#include <algorithm>

namespace refhost {

void EventTranslation::begin(const View& view, const Pixel& start)
{
    *this = {};
    m_View = view;
    m_Start = m_Current = start;
    (void)setStart(view.target);
}

bool EventTranslation::setStart(const Vector3& start)
{
    if (!isFinite(start))
        return false;
    const Vector3 direction = viewDirection();
    std::size_t axis = 0;
    for (std::size_t a = 1; a < 3; ++a)
        axis = std::abs(direction[a]) > std::abs(direction[axis]) ? a : axis;
    m_PlanePoint = start;
    m_PlaneNormal = {};
    m_PlaneNormal[axis] = 1;
    return true;
}

bool EventTranslation::setPlane(const Vector3& normal, const Vector3& point)
{
    const double size = length(normal);
    if (!isFinite(normal) || !isFinite(point) || !(size > 0) || !std::isfinite(size))
        return false;
    m_PlaneNormal = times(normal, 1 / size);
    m_PlanePoint = point;
    return true;
}

bool EventTranslation::onPlane(const Pixel& pixel, Vector3& out) const
{
    const Ray ray = m_View.ray(pixel);
    const double along =
        dot(minus(m_PlanePoint, ray.origin), m_PlaneNormal) / dot(ray.direction, m_PlaneNormal);
    const Vector3 point = plus(ray.origin, times(ray.direction, along));
    if (!(along >= 0) || !isFinite(point))
        return false;
    out = point;
    return true;
}

Vector3 EventTranslation::newPosition(const Vector3& from)
{
    Vector3 then, now;
    if (m_Current == m_Start)
        m_Motion = {}; // exactly, whatever the planes say
    else if (onPlane(m_Start, then) && onPlane(m_Current, now))
        m_Motion = minus(now, then);
    return plus(from, m_Motion);
}

bool ToolEvent::rayHit(RayHit& hit) const
{
    return scene && view
        && castRay(*scene, time, view->ray({static_cast<double>(currentX), static_cast<double>(currentY)}),
                   hit);
}

const Gesture* gestureOf(int button, unsigned keys)
{
    const auto* found = std::find_if(std::begin(kGestures), std::end(kGestures), [&](const Gesture& one) {
        return one.button == button && one.keys == keys;
    });
    return found == std::end(kGestures) ? nullptr : found;
}

const Gesture* gestureByName(std::string_view name)
{
    const auto* found = std::find_if(std::begin(kGestures), std::end(kGestures),
                                     [&](const Gesture& one) { return one.name == name; });
    return found == std::end(kGestures) ? nullptr : found;
}

} // namespace refhost
