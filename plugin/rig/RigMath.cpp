// SPDX-License-Identifier: MIT
// The border between the host's matrices in doubles and the engine's quaternions in singles.
#include "rig/RigMath.h"

#include <algorithm>
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

double Length(const double* three)
{
    return std::sqrt(three[0] * three[0] + three[1] * three[1] + three[2] * three[2]);
}

double Distance(const double* from, const double* to)
{
    const double apart[3] = {to[0] - from[0], to[1] - from[1], to[2] - from[2]};
    return Length(apart);
}

bool AreFinite(const double* values, int count)
{
    return std::all_of(values, values + count, [](double value) { return std::isfinite(value); });
}

double AngleBetween(const Matrix4d& a, const Matrix4d& b)
{
    // From the difference of the blocks, which is exact for small angles: its norm is 2 sqrt(2) sin(angle /
    // 2).
    double squares = 0;
    for (uint32_t r = 0; r < 3; ++r)
        for (uint32_t c = 0; c < 3; ++c)
            squares += (a[r][c] - b[r][c]) * (a[r][c] - b[r][c]);
    return 2 * std::asin(std::min(1.0, std::sqrt(squares / 8)));
}

Matrix4d WithoutScale(Matrix4d matrix)
{
    for (uint32_t r = 0; r < 3; ++r) {
        const double length = Length(matrix[r]);
        if (length > 0 && std::fabs(length - 1) > 1e-6)
            for (uint32_t c = 0; c < 3; ++c)
                matrix[r][c] /= length;
    }
    return matrix;
}

bool InvertTransform(Matrix4d& matrix)
{
    // Matrix4d refuses small determinants, which a figure in millimetres under a scale has; so the scales of
    // the rows are taken out first, and divide the columns of the inverse.
    double sizes[3];
    Matrix4d block;
    for (uint32_t r = 0; r < 3; ++r) {
        sizes[r] = Length(matrix[r]);
        if (!(sizes[r] > 0))
            return false;
        for (uint32_t c = 0; c < 3; ++c)
            block[r][c] = matrix[r][c] / sizes[r];
    }
    if (!block.invert())
        return false;
    double moved[3] = {0, 0, 0};
    for (uint32_t c = 0; c < 3; ++c) {
        for (uint32_t r = 0; r < 3; ++r) {
            block[r][c] /= sizes[c];
            moved[c] -= matrix[3][r] * block[r][c];
        }
    }
    block.setTranslation(moved[0], moved[1], moved[2]);
    matrix = block;
    return true;
}

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
