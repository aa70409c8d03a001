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

double Length(const double* three)
{
    return std::sqrt(three[0] * three[0] + three[1] * three[1] + three[2] * three[2]);
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

bool InvertTransform(Matrix4d& matrix)
{
    // Matrix4d refuses small determinants, which a figure in millimetres under a scale has; so the scale is
    // taken out first.
    const double size = std::max({Length(matrix[0]), Length(matrix[1]), Length(matrix[2])});
    Matrix4d block;
    for (uint32_t r = 0; r < 3; ++r)
        for (uint32_t c = 0; c < 3; ++c)
            block[r][c] = matrix[r][c] / size;
    if (!(size > 0) || !block.invert())
        return false;
    double moved[3] = {0, 0, 0};
    for (uint32_t c = 0; c < 3; ++c) {
        for (uint32_t r = 0; r < 3; ++r) {
            block[r][c] /= size;
            moved[c] -= matrix[3][r] * block[r][c];
        }
    }
    block.setTranslation(moved[0], moved[1], moved[2]);
    matrix = block;
    return true;
}

ChainFrame::ChainFrame(const double* position, const Matrix4d& rotation, const double* scale)
    : m_RotationInverse(rotation)
{
    std::copy_n(position, 3, m_Position);
    std::copy_n(scale, 3, m_Scale);
    m_RotationInverse.invert();
}

void ChainFrame::toChain(const double* world, double* local) const
{
    // World = scale, then rotation, then position; taken back one by one, since a small scale is no reason to
    // miss.
    const double moved[3] = {world[0] - m_Position[0], world[1] - m_Position[1], world[2] - m_Position[2]};
    for (uint32_t c = 0; c < 3; ++c)
        local[c] = (moved[0] * m_RotationInverse[0][c] + moved[1] * m_RotationInverse[1][c]
                    + moved[2] * m_RotationInverse[2][c])
            / m_Scale[c];
}

Matrix4d ChainFrame::toChain(const Matrix4d& rotation) const { return product(rotation, m_RotationInverse); }
