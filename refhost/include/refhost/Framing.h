// SPDX-License-Identifier: MIT
// Where a camera has to stand so that all of a scene is seen.
#pragma once

#include "refhost/View.h"

#include <array>
#include <limits>

namespace refhost {

/// Takes in points one by one, and then finds the nearest place from which a view shows them all.
class Framing {
public:
    /// For the camera and the rectangle of this view. So many pixels around each point belong to it as well.
    explicit Framing(const View& view, double pixelsAround = 0);

    /// A point that is not finite is left out.
    void include(const Vector3& point);
    bool isEmpty() const { return m_Nearest < m_Farthest; }
    /// The box around the points, in the world; all 0 without points.
    const Vector3& low() const { return m_Low; }
    const Vector3& high() const { return m_High; }

    /// Moves the view: all points lie in it with a margin, and fill it otherwise. Points that all lie in one
    /// place are put in the middle of a view of size 1; without points the view stays as it is.
    void apply(View& view) const;

private:
    View m_Camera;
    double m_Share[2]; ///< of the width and of the height that points may fill
    double
        m_Slope[2]; ///< sideways and upwards by distance, of the edges of those shares; 0 in parallel views
    // Largest value of -x + slope * z, x + slope * z, and the same with y; x, y, z along the view's axes.
    double m_Reach[2][2];
    double m_Nearest = -std::numeric_limits<double>::infinity(); ///< largest z: nearest to the viewer
    double m_Farthest = std::numeric_limits<double>::infinity();
    Vector3 m_Low{}, m_High{};
};

} // namespace refhost
