// SPDX-License-Identifier: MIT
// The pose tool's arithmetic.
#include "tool/PoseMath.h"

#include "rig/RigQueries.h"

#include <algorithm>
#include <cmath>
#include <numbers>
#include <tuple>

using Sinew::Matrix4d;

uint32_t MajorAxis(const double* offset)
{
    const auto [x, y, z] = std::tie(offset[0], offset[1], offset[2]);
    if (x > y && x > z)
        return 0;
    return y > x && y > z ? 1 : 2;
}

double HandleRadius(double boneLength, bool isLocked, double pixelSize)
{
    const double radius = boneLength / (isLocked ? 12.0 : 20.0);
    return std::min(std::max(radius, 4 * pixelSize), 12 * pixelSize);
}

double ScreenTurnDegrees(const ZxToolScreenEvent& event)
{
    const double dx = static_cast<double>(event.currentX) - event.startX,
                 dy = static_cast<double>(event.currentY) - event.startY;
    const double distance = std::sqrt(dx * dx + dy * dy);
    return (dx < 0 ? -distance : distance) * 0.25;
}

void MatchEuler(const double* current, double* angles, int32_t order)
{
    using std::numbers::pi;
    const auto& [i, j, k] = kEulerAxes[order >= 0 && order < 6 ? order : 0];
    if (angles[i] - current[i] >= pi && angles[k] - current[k] >= pi) {
        angles[i] -= pi;
        angles[j] = (angles[j] < 0 ? -pi : pi) - angles[j];
        angles[k] -= pi;
    }
    for (uint32_t a = 0; a < 3; ++a) {
        const double d = angles[a] - current[a];
        if (std::fabs(d + 2 * pi) < std::fabs(d))
            angles[a] += 2 * pi;
        else if (std::fabs(d - 2 * pi) < std::fabs(d))
            angles[a] -= 2 * pi;
    }
}
