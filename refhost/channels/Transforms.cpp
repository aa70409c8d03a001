// SPDX-License-Identifier: MIT
// Rotation orders, composing and taking apart the host's transforms.
#include "refhost/Transforms.h"

#include <glue/EulerAngles.h>

#include <algorithm>
#include <cmath>
#include <cstddef>

namespace refhost {
namespace {

// Adding 0 turns a negative zero into a positive one and leaves every other number alone.
double plainZero(double x) { return x + 0.0; }

Matrix33 plainZeros(Matrix33 a)
{
    for (auto& row : a.m) {
        for (double& x : row)
            x = plainZero(x);
    }
    return a;
}

// Right-handed turn about x (0), y (1) or z (2).
Matrix33 axisRotation(int axis, double radians)
{
    const int u = (axis + 1) % 3, v = (axis + 2) % 3;
    const double c = std::cos(radians), s = std::sin(radians);
    Matrix33 r;
    r[u][u] = c;
    r[u][v] = -s;
    r[v][u] = s;
    r[v][v] = c;
    return r;
}

Vector3 column(const Matrix33& a, int c) { return {a[0][c], a[1][c], a[2][c]}; }

void setColumn(Matrix33& a, int c, const Vector3& v)
{
    for (int r = 0; r < 3; ++r)
        a[r][c] = v[static_cast<std::size_t>(r)];
}

double dot(const Vector3& a, const Vector3& b) { return a[0] * b[0] + a[1] * b[1] + a[2] * b[2]; }
double length(const Vector3& a) { return std::hypot(a[0], a[1], a[2]); }
Vector3 scaled(const Vector3& a, double s) { return {a[0] * s, a[1] * s, a[2] * s}; }
Vector3 cross(const Vector3& a, const Vector3& b)
{
    return {a[1] * b[2] - a[2] * b[1], a[2] * b[0] - a[0] * b[2], a[0] * b[1] - a[1] * b[0]};
}

Vector3 perpendicular(const Vector3& unit)
{
    int smallest = 0;
    for (int i = 1; i < 3; ++i) {
        if (std::abs(unit[static_cast<std::size_t>(i)]) < std::abs(unit[static_cast<std::size_t>(smallest)]))
            smallest = i;
    }
    Vector3 axis{};
    axis[static_cast<std::size_t>(smallest)] = 1;
    const Vector3 side = cross(unit, axis);
    return scaled(side, 1 / length(side));
}

Matrix34 translation(const Vector3& offset)
{
    Matrix34 m;
    for (std::size_t i = 0; i < 3; ++i)
        m.offset[i] = plainZero(offset[i]);
    return m;
}

Matrix34 diagonal(const Vector3& scale)
{
    Matrix34 m;
    for (int i = 0; i < 3; ++i)
        m.linear[i][i] = plainZero(scale[static_cast<std::size_t>(i)]);
    return m;
}

WorldParts composeWorld(const Vector3& position, const Matrix33& rotation, const Vector3& scale,
                        const WorldParts* parent)
{
    WorldParts out;
    if (!parent) {
        out.position = translation(position);
        out.rotation.linear = rotation;
        out.scale = diagonal(scale);
        return out;
    }
    out.position = translation(transformPoint(worldMatrix(*parent), position));
    out.rotation.linear = plainZeros(parent->rotation.linear * rotation);
    Vector3 accumulated;
    for (int i = 0; i < 3; ++i)
        accumulated[static_cast<std::size_t>(i)] =
            parent->scale.linear[i][i] * scale[static_cast<std::size_t>(i)];
    out.scale = diagonal(accumulated);
    return out;
}

} // namespace

Matrix33 operator*(const Matrix33& a, const Matrix33& b)
{
    Matrix33 out;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            out[r][c] = a[r][0] * b[0][c] + a[r][1] * b[1][c] + a[r][2] * b[2][c];
    }
    return out;
}

Vector3 operator*(const Matrix33& a, const Vector3& v)
{
    return {a[0][0] * v[0] + a[0][1] * v[1] + a[0][2] * v[2],
            a[1][0] * v[0] + a[1][1] * v[1] + a[1][2] * v[2],
            a[2][0] * v[0] + a[2][1] * v[1] + a[2][2] * v[2]};
}

Matrix34 operator*(const Matrix34& a, const Matrix34& b)
{
    return {a.linear * b.linear, transformPoint(a, b.offset)};
}

Vector3 transformPoint(const Matrix34& a, const Vector3& point)
{
    const Vector3 turned = a.linear * point;
    return {turned[0] + a.offset[0], turned[1] + a.offset[1], turned[2] + a.offset[2]};
}

Matrix33 transposed(const Matrix33& a)
{
    Matrix33 out;
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            out[r][c] = a[c][r];
    }
    return out;
}

double determinant(const Matrix33& a) { return dot(column(a, 0), cross(column(a, 1), column(a, 2))); }

bool invert(const Matrix33& a, Matrix33& out)
{
    const Vector3 x = column(a, 0), y = column(a, 1), z = column(a, 2);
    const double det = determinant(a);
    const double factor = 1 / det;
    if (!std::isfinite(det) || !std::isfinite(factor))
        return false;
    Matrix34 made;
    const Vector3 rows[3] = {scaled(cross(y, z), factor), scaled(cross(z, x), factor),
                             scaled(cross(x, y), factor)};
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c)
            made.linear[r][c] = plainZero(rows[r][static_cast<std::size_t>(c)]);
    }
    if (!isFinite(made))
        return false;
    out = made.linear;
    return true;
}

bool invert(const Matrix34& a, Matrix34& out)
{
    Matrix34 made;
    if (!invert(a.linear, made.linear))
        return false;
    const Vector3 back = made.linear * a.offset;
    made.offset = {plainZero(-back[0]), plainZero(-back[1]), plainZero(-back[2])};
    if (!isFinite(made))
        return false;
    out = made;
    return true;
}

bool isFinite(const Matrix34& a)
{
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            if (!std::isfinite(a.linear[r][c]))
                return false;
        }
        if (!std::isfinite(a.offset[static_cast<std::size_t>(r)]))
            return false;
    }
    return true;
}

const RotationOrder& rotationOrder(int index)
{
    return kRotationOrders[index >= 0 && index < kRotationOrderCount ? index : 0];
}

Matrix33 matrixFromEuler(const Vector3& radians, int orderIndex)
{
    const RotationOrder& order = rotationOrder(orderIndex);
    Matrix33 out;
    for (const int axis : {order.first, order.second, order.third}) {
        if (const double angle = radians[static_cast<std::size_t>(axis)]; angle != 0)
            out = axisRotation(axis, angle) * out;
    }
    return plainZeros(out);
}

Vector3 eulerFromMatrix(const Matrix33& m, int orderIndex)
{
    const RotationOrder& order = rotationOrder(orderIndex);
    Vector3 out{};
    eulerAngles(m.m, order.first, order.second, order.third, out.data());
    for (double& angle : out)
        angle = plainZero(angle);
    return out;
}

std::array<double, 4> quaternionFromMatrix(const Matrix33& m)
{
    const std::array<double, 4> squares = {1 + m[0][0] - m[1][1] - m[2][2], 1 - m[0][0] + m[1][1] - m[2][2],
                                           1 - m[0][0] - m[1][1] + m[2][2], 1 + m[0][0] + m[1][1] + m[2][2]};
    // The largest component first, so that nothing is divided by a small one.
    const auto largest =
        static_cast<std::size_t>(std::max_element(squares.begin(), squares.end()) - squares.begin());
    // Sums and differences of mirrored elements, by pair of components.
    const double xy = m[1][0] + m[0][1], yz = m[2][1] + m[1][2], zx = m[0][2] + m[2][0];
    const double xw = m[2][1] - m[1][2], yw = m[0][2] - m[2][0], zw = m[1][0] - m[0][1];
    const double products[4][4] = {{squares[0], xy, zx, xw},
                                   {xy, squares[1], yz, yw},
                                   {zx, yz, squares[2], zw},
                                   {xw, yw, zw, squares[3]}};
    const double scale = 0.5 / std::sqrt(std::max(squares[largest], 1e-300));
    std::array<double, 4> out{};
    for (std::size_t i = 0; i < 4; ++i)
        out[i] = products[largest][i] * scale;
    return out;
}

Matrix33 matrixFromQuaternion(const std::array<double, 4>& q)
{
    const double x = q[0], y = q[1], z = q[2], w = q[3];
    Matrix33 out;
    out[0][0] = 1 - 2 * (y * y + z * z);
    out[0][1] = 2 * (x * y - z * w);
    out[0][2] = 2 * (x * z + y * w);
    out[1][0] = 2 * (x * y + z * w);
    out[1][1] = 1 - 2 * (x * x + z * z);
    out[1][2] = 2 * (y * z - x * w);
    out[2][0] = 2 * (x * z - y * w);
    out[2][1] = 2 * (y * z + x * w);
    out[2][2] = 1 - 2 * (x * x + y * y);
    return out;
}

Matrix34 localMatrix(const LocalParts& parts)
{
    Matrix34 out = translation(parts.position);
    out.linear = plainZeros(matrixFromEuler(parts.rotation, parts.order) * diagonal(parts.scale).linear);
    return out;
}

Decomposition decompose(const Matrix34& matrix)
{
    Decomposition out;
    out.position = matrix.offset;
    if (matrix.linear == Matrix33{})
        return out;
    Vector3 axes[3];
    for (int i = 0; i < 3; ++i) {
        axes[i] = column(matrix.linear, i);
        out.scale[static_cast<std::size_t>(i)] = length(axes[i]);
    }
    // Lengths out before the determinant is taken, so that tiny and huge scales keep their sign.
    for (int i = 0; i < 3; ++i) {
        if (const double s = out.scale[static_cast<std::size_t>(i)]; s > 0)
            axes[i] = {axes[i][0] / s, axes[i][1] / s, axes[i][2] / s};
    }
    if (dot(axes[0], cross(axes[1], axes[2])) < 0) {
        out.scale[0] = -out.scale[0];
        axes[0] = scaled(axes[0], -1);
    }
    // x as it stands, y at a right angle to it, z from both; axes that have no direction are completed.
    const auto isFlat = [](const Vector3& v) { return !(length(v) > 1e-9); };
    if (isFlat(axes[0])) {
        if (!isFlat(axes[1]) && !isFlat(cross(axes[1], axes[2])))
            axes[0] = cross(axes[1], axes[2]);
        else
            axes[0] =
                perpendicular(isFlat(axes[1]) ? (isFlat(axes[2]) ? Vector3{0, 0, 1} : axes[2]) : axes[1]);
        axes[0] = scaled(axes[0], 1 / length(axes[0]));
    }
    const auto orthogonal = [&](const Vector3& v) {
        const double along = dot(axes[0], v);
        return Vector3{v[0] - along * axes[0][0], v[1] - along * axes[0][1], v[2] - along * axes[0][2]};
    };
    Vector3 y = orthogonal(axes[1]);
    if (isFlat(y)) {
        const Vector3 z = orthogonal(axes[2]);
        y = isFlat(z) ? perpendicular(axes[0]) : cross(z, axes[0]);
    }
    y = scaled(y, 1 / length(y));
    setColumn(out.rotation, 0, axes[0]);
    setColumn(out.rotation, 1, y);
    setColumn(out.rotation, 2, cross(axes[0], y));
    out.rotation = plainZeros(out.rotation);
    return out;
}

WorldParts worldParts(const Decomposition& local, const WorldParts* parent)
{
    return composeWorld(local.position, local.rotation, local.scale, parent);
}

WorldParts worldParts(const LocalParts& local, const WorldParts* parent)
{
    return composeWorld(local.position, matrixFromEuler(local.rotation, local.order), local.scale, parent);
}

Matrix34 worldMatrix(const WorldParts& parts)
{
    Matrix34 out;
    out.linear = plainZeros(parts.rotation.linear * parts.scale.linear);
    out.offset = parts.position.offset;
    return out;
}

WorldParts worldPartsOf(const Matrix34& world) { return worldParts(decompose(world), nullptr); }

} // namespace refhost
