// SPDX-License-Identifier: MIT
// Between the poses of a motion and the matrices of the host.
#include "track/PoseMatrices.h"

#include <cmath>

namespace app {

using refhost::Matrix33;

namespace {

Matrix33 matrixOf(const std::array<double, 4>& q)
{
    const auto& [x, y, z, w] = q;
    Matrix33 m;
    m[0][0] = 1 - 2 * (y * y + z * z);
    m[0][1] = 2 * (x * y - w * z);
    m[0][2] = 2 * (x * z + w * y);
    m[1][0] = 2 * (x * y + w * z);
    m[1][1] = 1 - 2 * (x * x + z * z);
    m[1][2] = 2 * (y * z - w * x);
    m[2][0] = 2 * (x * z - w * y);
    m[2][1] = 2 * (y * z + w * x);
    m[2][2] = 1 - 2 * (x * x + y * y);
    return m;
}

/// Unit quaternion of a rotation, by the largest of its four components.
std::array<double, 4> quaternionOf(const Matrix33& m)
{
    const double squares[4] = {1 + m[0][0] - m[1][1] - m[2][2], 1 - m[0][0] + m[1][1] - m[2][2],
                               1 - m[0][0] - m[1][1] + m[2][2], 1 + m[0][0] + m[1][1] + m[2][2]};
    std::size_t k = 3;
    for (std::size_t i = 0; i < 3; ++i)
        if (squares[i] > squares[k])
            k = i;
    const double twice = std::sqrt(squares[k]), f = 0.5 / twice;
    const double sums[3] = {m[2][1] + m[1][2], m[0][2] + m[2][0], m[1][0] + m[0][1]};
    const double differences[3] = {m[2][1] - m[1][2], m[0][2] - m[2][0], m[1][0] - m[0][1]};
    std::array<double, 4> q{};
    for (std::size_t i = 0; i < 3; ++i)
        q[i] = k == 3 ? differences[i] * f : i == k ? 0.5 * twice : sums[3 - i - k] * f;
    q[3] = k == 3 ? 0.5 * twice : differences[k] * f;
    return q;
}

} // namespace

refhost::Vector3 goalAngles(const Pose& goal) { return refhost::eulerFromMatrix(matrixOf(goal.rotation), 0); }

void localPoses(std::span<const TrackBone> bones, std::span<const refhost::Matrix34> world,
                std::span<Pose> local)
{
    for (std::size_t i = 0; i < bones.size(); ++i) {
        const int parent = bones[i].parent;
        const Matrix33& rotation = world[i].linear;
        local[i].rotation = quaternionOf(
            parent < 0 ? rotation : transposed(world[static_cast<std::size_t>(parent)].linear) * rotation);
        local[i].translation = parent < 0 ? world[i].offset : bones[i].restTranslation;
    }
}

} // namespace app
