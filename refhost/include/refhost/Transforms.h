// SPDX-License-Identifier: MIT
// Transforms of the host in doubles: matrices for column vectors, radians, and what the matrix channels of an
// item are made of.
#pragma once

#include <array>

namespace refhost {

using Vector3 = std::array<double, 3>;

/// Linear part of a transform: v' = m v, addressed m[row][column]. Identity unless filled.
struct Matrix33 {
    double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};

    double* operator[](int row) { return m[row]; }
    const double* operator[](int row) const { return m[row]; }
    bool operator==(const Matrix33&) const = default;
};

/// v' = linear v + offset. Identity unless filled.
struct Matrix34 {
    Matrix33 linear;
    Vector3 offset{};

    bool operator==(const Matrix34&) const = default;
};

Matrix33 operator*(const Matrix33& a, const Matrix33& b);
Vector3 operator*(const Matrix33& a, const Vector3& v);
/// Applies b first, then a.
Matrix34 operator*(const Matrix34& a, const Matrix34& b);
Vector3 transformPoint(const Matrix34& a, const Vector3& point);
Matrix33 transposed(const Matrix33& a);
double determinant(const Matrix33& a);
/// False, and `out` untouched, when `a` has no inverse in finite numbers.
bool invert(const Matrix33& a, Matrix33& out);
/// False, and `out` untouched, when `a` has no inverse in finite numbers.
bool invert(const Matrix34& a, Matrix34& out);
bool isFinite(const Matrix34& a);

/// The axes in the order in which they are applied, by rotation order index 0..5: the axis `first` turns
/// first.
struct RotationOrder {
    int first, second, third;
};
inline constexpr int kRotationOrderCount = 6;
inline constexpr RotationOrder kRotationOrders[kRotationOrderCount] = {
    {0, 1, 2}, {0, 2, 1}, {1, 0, 2}, {1, 2, 0}, {2, 0, 1}, {2, 1, 0},
};
/// Text of a rotation order, `xyz` for 0; the first letter is the axis that turns first.
inline constexpr const char* kRotationOrderNames[kRotationOrderCount] = {"xyz", "xzy", "yxz",
                                                                         "yzx", "zxy", "zyx"};
/// An index out of range counts as 0.
const RotationOrder& rotationOrder(int index);

/// Rotation of angles in radians about x, y and z, turned in the given order.
Matrix33 matrixFromEuler(const Vector3& radians, int orderIndex);
/// The inverse of `matrixFromEuler`. The matrix is made orthonormal first, so that scale and rounding don't
/// count; where the middle axis stands at a quarter turn the third angle is 0.
Vector3 eulerFromMatrix(const Matrix33& rotation, int orderIndex);

/// Unit quaternion x, y, z, w of a rotation; either of the two that stand for it.
std::array<double, 4> quaternionFromMatrix(const Matrix33& rotation);
/// Rotation of a unit quaternion x, y, z, w.
Matrix33 matrixFromQuaternion(const std::array<double, 4>& q);

/// What the transform items of an item say; the rotation is in radians.
struct LocalParts {
    Vector3 position{};
    Vector3 rotation{};
    Vector3 scale{1, 1, 1};
    int order = 0;
};
/// Scale first, then rotation, then position. Parts at rest pass the others through bit for bit.
Matrix34 localMatrix(const LocalParts& parts);

/// A transform pulled apart: rotation without scale, and the scale along the axes before it.
struct Decomposition {
    Vector3 position{};
    Matrix33 rotation;
    Vector3 scale{1, 1, 1};
};
/// Shear is dropped; a mirrored matrix gets its sign on the scale of x; an axis of length 0 keeps scale 0 and
/// a rotation that completes the frame.
Decomposition decompose(const Matrix34& matrix);

/// The three matrices of an item that its `worldMatrix` is composed of.
struct WorldParts {
    Matrix34 position; ///< `wposMatrix`: translation only, the linear part is the identity
    Matrix34 rotation; ///< `wrotMatrix`: a pure rotation
    Matrix34 scale; ///< `wsclMatrix`: diagonal, the scale accumulated along the hierarchy in local axes
};
/// World parts from a local transform; `parent` is null for an item at the top.
WorldParts worldParts(const Decomposition& local, const WorldParts* parent);
/// The same from the values of the transform items; exact where `decompose` would round.
WorldParts worldParts(const LocalParts& local, const WorldParts* parent);
/// `worldMatrix`: scale first, then rotation, then position.
Matrix34 worldMatrix(const WorldParts& parts);
/// A transform as world parts, for an item whose `worldMatrix` alone is known.
WorldParts worldPartsOf(const Matrix34& world);

} // namespace refhost
