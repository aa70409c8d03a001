// SPDX-License-Identifier: MIT
// Frames points: parallel views by their extent, perspectives by the planes through the eye that touch them.
//
// With x, y, z along the view's axes (z towards the viewer) a perspective from the eye e shows a point p
// when |p.x - e.x| <= slope * (e.z - p.z), that is e.z * slope - e.x >= -p.x + slope * p.z and the same with
// the signs of x turned. The largest right sides of all points decide: their mean is where the eye has to
// stand back to, their difference is how far aside. A parallel view is the same with a slope of 0.
#include "refhost/Framing.h"

#include "channels/Vectors.h"

#include <algorithm>

namespace refhost {
namespace {

constexpr double kFilled = 1 / 1.15; // of the picture's width or height
constexpr double kLeastFilled = 0.2; // however many pixels belong to a point
/// The eye stays so far away from the nearest point, as a share of the depth of all: what is near would fill
/// the picture, and be cut by the plane in front of the eye.
constexpr double kLeastDistance = 0.01;

} // namespace

Framing::Framing(const View& view, double pixelsAround) : m_Camera(view)
{
    const double sides[2] = {static_cast<double>(view.width), static_cast<double>(view.height)};
    for (std::size_t a = 0; a < 2; ++a) {
        m_Share[a] = std::max(std::min(kFilled, 1 - 2 * pixelsAround / sides[a]), kLeastFilled);
        m_Slope[a] = view.perspective ? std::tan(view.fieldOfView / 2) * sides[a] / sides[1] * m_Share[a] : 0;
        m_Reach[a][0] = m_Reach[a][1] = -std::numeric_limits<double>::infinity();
    }
}

void Framing::include(const Vector3& point)
{
    if (!isFinite(point))
        return;
    for (std::size_t a = 0; a < 3; ++a) {
        m_Low[a] = isEmpty() ? point[a] : std::min(m_Low[a], point[a]);
        m_High[a] = isEmpty() ? point[a] : std::max(m_High[a], point[a]);
    }
    const double z = dot(point, column(m_Camera.axes, 2));
    m_Nearest = std::max(m_Nearest, z);
    m_Farthest = std::min(m_Farthest, z);
    for (int a = 0; a < 2; ++a) {
        const double along = dot(point, column(m_Camera.axes, a));
        m_Reach[a][0] = std::max(m_Reach[a][0], -along + m_Slope[a] * z);
        m_Reach[a][1] = std::max(m_Reach[a][1], along + m_Slope[a] * z);
    }
}

void Framing::apply(View& view) const
{
    if (isEmpty())
        return;
    const double depth = m_Nearest - m_Farthest, middle = (m_Nearest + m_Farthest) / 2;
    double aside[2], size = 0, eye = m_Nearest + kLeastDistance * depth;
    for (std::size_t a = 0; a < 2; ++a) {
        aside[a] = (m_Reach[a][1] - m_Reach[a][0]) / 2;
        const double extent = m_Reach[a][0] + m_Reach[a][1];
        const double byHeight = a == 0 ? static_cast<double>(view.height) / view.width : 1;
        if (m_Camera.perspective)
            eye = std::max(eye, extent / (2 * m_Slope[a]));
        else
            size = std::max(size, extent * byHeight / m_Share[a]);
    }
    if (m_Camera.perspective)
        size = 2 * std::tan(m_Camera.fieldOfView / 2) * (eye - middle);
    view.size = m_Low == m_High ? 1 : size;
    view.target =
        plus(plus(times(column(m_Camera.axes, 0), aside[0]), times(column(m_Camera.axes, 1), aside[1])),
             times(column(m_Camera.axes, 2), middle));
}

} // namespace refhost
