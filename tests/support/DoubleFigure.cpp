// SPDX-License-Identifier: MIT
// Forward kinematics in double precision.
#include "support/DoubleFigure.h"

namespace support {

using namespace Sinew;

Mat3 operator*(const Mat3& a, const Mat3& b)
{
    Mat3 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r.m[i][j] = a.m[i][0] * b.m[0][j] + a.m[i][1] * b.m[1][j] + a.m[i][2] * b.m[2][j];
    return r;
}

Vec3 operator*(const Mat3& a, Vec3 v)
{
    return {dot(Vec3(a.m[0][0], a.m[0][1], a.m[0][2]), v), dot(Vec3(a.m[1][0], a.m[1][1], a.m[1][2]), v),
            dot(Vec3(a.m[2][0], a.m[2][1], a.m[2][2]), v)};
}

Mat3 transposed(const Mat3& a)
{
    Mat3 r;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            r.m[i][j] = a.m[j][i];
    return r;
}

Mat3 turn(Vec3 r)
{
    const double angle = length(r);
    if (angle == 0)
        return {};
    const Vec3 n = r * (1 / angle);
    const double c = std::cos(angle), s = std::sin(angle), n3[3] = {n.x, n.y, n.z};
    const double skew[3][3] = {{0, -n.z, n.y}, {n.z, 0, -n.x}, {-n.y, n.x, 0}};
    Mat3 out;
    for (int i = 0; i < 3; ++i)
        for (int j = 0; j < 3; ++j)
            out.m[i][j] = (i == j ? c : 0) + s * skew[i][j] + (1 - c) * n3[i] * n3[j];
    return out;
}

Mat3 matrixOf(const SinewQuaternion& q)
{
    const Vec3 v(q.x(), q.y(), q.z());
    const double sine = length(v);
    return sine == 0 ? Mat3() : turn(v * (2 * std::atan2(sine, static_cast<double>(q.w())) / sine));
}

Vec3 rotationVector(const Mat3& a)
{
    const Vec3 v(a.m[2][1] - a.m[1][2], a.m[0][2] - a.m[2][0], a.m[1][0] - a.m[0][1]);
    const double sine = length(v) / 2, cosine = (a.m[0][0] + a.m[1][1] + a.m[2][2] - 1) / 2;
    return sine == 0 ? Vec3() : v * (std::atan2(sine, cosine) / (2 * sine));
}

DoubleFigure::DoubleFigure(const IKSolver& solver)
{
    for (std::uint32_t i = 0; i < solver.boneCount(); ++i) {
        IKSegment* from = solver.bone(i);
        Bone bone;
        bone.parent = from->getParent() ? static_cast<int>(from->getParent()->getIndex()) : -1;
        bone.translation = from->getTranslation();
        bone.rotation = matrixOf(from->getOrientation());
        for (std::uint32_t k = 0; k < 6; ++k)
            bone.freedom[k] = from->isDofActive(k);
        bone.translatesFreely = from->hasFreeTranslation();
        bone.mass = from->getMass();
        bone.massCentre = from->getMassCentre();
        m_Bones.push_back(bone);
    }
    place();
}

void DoubleFigure::place()
{
    // Parents stand before their children in the figures under test.
    for (Bone& bone : m_Bones) {
        const Bone top;
        const Bone& parent = bone.parent < 0 ? top : m_Bones[static_cast<std::size_t>(bone.parent)];
        bone.position = parent.position + parent.orientation * bone.translation;
        bone.orientation = parent.orientation * bone.rotation;
    }
}

void DoubleFigure::move(std::size_t index, int freedom, double amount)
{
    Bone& bone = m_Bones[index];
    const int axis = freedom % 3;
    const Vec3 step(axis == 0 ? amount : 0, axis == 1 ? amount : 0, axis == 2 ? amount : 0);
    if (freedom < 3) {
        bone.rotation = bone.rotation * turn(step);
    } else if (bone.translatesFreely) {
        bone.translation = bone.translation + bone.rotation * step;
    } else {
        for (Bone& child : m_Bones)
            if (child.parent == static_cast<int>(index))
                child.translation = child.translation + step;
    }
    place();
}

Vec3 DoubleFigure::point(std::size_t bone, Vec3 offset) const
{
    return m_Bones[bone].position + m_Bones[bone].orientation * offset;
}

Vec3 DoubleFigure::centreOfMass() const
{
    Vec3 sum;
    double mass = 0;
    for (std::size_t i = 0; i < m_Bones.size(); ++i) {
        sum = sum + point(i, m_Bones[i].massCentre) * m_Bones[i].mass;
        mass += m_Bones[i].mass;
    }
    return sum * (1 / mass);
}

std::vector<Vec3> derivatives(const DoubleFigure& pose,
                              const std::function<Vec3(const DoubleFigure&)>& quantity)
{
    constexpr double h = 1e-5;
    std::vector<Vec3> columns;
    for (std::size_t b = 0; b < pose.bones().size(); ++b)
        for (int freedom = 0; freedom < 6; ++freedom) {
            if (!pose.bones()[b].freedom[freedom])
                continue;
            DoubleFigure forward = pose, backward = pose;
            forward.move(b, freedom, h);
            backward.move(b, freedom, -h);
            columns.push_back((quantity(forward) - quantity(backward)) * (0.5 / h));
        }
    return columns;
}

Vec3 turnSince(const DoubleFigure& pose, const DoubleFigure& other, std::size_t bone)
{
    return rotationVector(other.bones()[bone].orientation * transposed(pose.bones()[bone].orientation));
}

} // namespace support
