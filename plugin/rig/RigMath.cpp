// SPDX-License-Identifier: MIT
// The border between the host's matrices in doubles and the engine's quaternions in singles.
#include "rig/RigMath.h"

#include <cmath>

using Sinew::Matrix4d;
using Sinew::SinewQuaternion;

SinewQuaternion QuaternionOf(const double* nine)
{
    float single[9];
    for (int i = 0; i < 9; ++i)
        single[i] = static_cast<float>(nine[i]);
    return Sinew::fromColumnMatrix(Sinew::makeMatrix(single[0], single[1], single[2], single[3], single[4],
                                                     single[5], single[6], single[7], single[8]));
}

SinewQuaternion QuaternionOf(const Matrix4d& matrix)
{
    double nine[9];
    matrix.get3x3(nine);
    return QuaternionOf(nine);
}

Matrix4d AxisRotation(double radians, uint32_t axis) { return Sinew::axisRotation(-radians, axis); }

Matrix4d HostRotation(double radians, uint32_t axis) { return Sinew::axisRotation(radians, axis); }

Matrix4d InterpolateBlocks(const Matrix4d& a, const Matrix4d& b, double t)
{
    const SinewQuaternion p = QuaternionOf(a), q = QuaternionOf(b);
    const double from[4] = {p.x(), p.y(), p.z(), p.w()};
    double to[4] = {q.x(), q.y(), q.z(), q.w()};
    double d = from[0] * to[0] + from[1] * to[1] + from[2] * to[2] + from[3] * to[3];
    if (d < 0) {
        d = -d;
        for (double& component : to)
            component = -component;
    }
    double fromWeight = 1 - t, toWeight = t;
    if (1 - d > 1e-6) {
        const double angle = std::acos(d), sine = std::sin(angle);
        fromWeight = std::sin((1 - t) * angle) / sine;
        toWeight = std::sin(t * angle) / sine;
    }
    float mixed[4];
    for (int i = 0; i < 4; ++i)
        mixed[i] = static_cast<float>(from[i] * fromWeight + to[i] * toWeight);
    return Sinew::fromEngineMatrix(
        Sinew::toColumnMatrix(SinewQuaternion(mixed[0], mixed[1], mixed[2], mixed[3])));
}
