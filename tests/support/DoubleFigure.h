// SPDX-License-Identifier: MIT
// A figure's pose in double precision with forward kinematics of its own: matrices instead of quaternions.
#pragma once

#include <sinew/IKSolver.h>

#include <cmath>
#include <functional>
#include <vector>

namespace support {

struct Vec3 {
    double x = 0, y = 0, z = 0;
    Vec3() = default;
    Vec3(double a, double b, double c) : x(a), y(b), z(c) { }
    Vec3(const Sinew::SinewVector& v) : x(v.x()), y(v.y()), z(v.z()) { }
    double operator[](int i) const { return i == 0 ? x : i == 1 ? y : z; }
};
inline Vec3 operator+(Vec3 a, Vec3 b) { return {a.x + b.x, a.y + b.y, a.z + b.z}; }
inline Vec3 operator-(Vec3 a, Vec3 b) { return {a.x - b.x, a.y - b.y, a.z - b.z}; }
inline Vec3 operator*(Vec3 a, double s) { return {a.x * s, a.y * s, a.z * s}; }
inline double dot(Vec3 a, Vec3 b) { return a.x * b.x + a.y * b.y + a.z * b.z; }
inline Vec3 cross(Vec3 a, Vec3 b)
{
    return {a.y * b.z - a.z * b.y, a.z * b.x - a.x * b.z, a.x * b.y - a.y * b.x};
}
inline double length(Vec3 a) { return std::sqrt(dot(a, a)); }

/// A rotation in column-vector form: v' = m v.
struct Mat3 {
    double m[3][3] = {{1, 0, 0}, {0, 1, 0}, {0, 0, 1}};
};
Mat3 operator*(const Mat3& a, const Mat3& b);
Vec3 operator*(const Mat3& a, Vec3 v);
Mat3 transposed(const Mat3& a);
/// Rotation of a quaternion of any length but 0.
Mat3 matrixOf(const Sinew::SinewQuaternion& q);
/// Rotation by |r| radians about r.
Mat3 turn(Vec3 r);
/// The r of `turn(r)`, for angles below half a turn.
Vec3 rotationVector(const Mat3& m);

class DoubleFigure {
public:
    /// Takes pose, freedoms and masses as they stand.
    explicit DoubleFigure(const Sinew::IKSolver& solver);

    /// Moves freedom 0 to 5 of a bone as a joint step does.
    void move(std::size_t bone, int freedom, double amount);

    struct Bone {
        int parent = -1;
        Vec3 translation;
        Mat3 rotation;
        bool freedom[6] = {};
        bool translatesFreely = false;
        double mass = 0;
        Vec3 massCentre;
        Vec3 position; ///< in the world
        Mat3 orientation; ///< in the world
    };
    const std::vector<Bone>& bones() const { return m_Bones; }
    /// World place of a point of a bone.
    Vec3 point(std::size_t bone, Vec3 offset = {}) const;
    Vec3 centreOfMass() const;

private:
    void place();
    std::vector<Bone> m_Bones;
};

/// d(quantity)/d(freedom) at a pose for every freedom of the figure, by central differences.
std::vector<Vec3> derivatives(const DoubleFigure& pose,
                              const std::function<Vec3(const DoubleFigure&)>& quantity);
/// Rotation of a bone from `pose` to another one, as a vector in world axes.
Vec3 turnSince(const DoubleFigure& pose, const DoubleFigure& other, std::size_t bone);

} // namespace support
