// SPDX-License-Identifier: MIT
// Between the nodes of a glTF file, each with its own scale, and rigid poses in the world.
#include "track/GltfTrackMotion.h"

#include "formats/RoleJoints.h"
#include "shared/Console.h"

#include <fmt/format.h>
#include <refhost/Transforms.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

using formats::GltfMatrix;
using formats::GltfNode;
using formats::GltfPath;
using formats::GltfPose;
using formats::GltfTransform;
using formats::LocalPose;
using formats::WorldPose;
using refhost::Matrix33;
using refhost::Vector3;

constexpr TrackWords kWords = {"rest translation", "has a sheared matrix",
                               "has an uneven scale or shear that its solved pose doesn't fit",
                               "has an uneven scale or shear that its solved pose doesn't fit"};

constexpr double kDegrees = 57.29577951308232;

struct PartRow {
    BodyPart part;
    formats::Role role;
    formats::Side side;
};

constexpr PartRow kParts[] = {
    {BodyPart::Head, formats::Role::Head, formats::Side::Middle},
    {BodyPart::LeftHand, formats::Role::Hand, formats::Side::Left},
    {BodyPart::RightHand, formats::Role::Hand, formats::Side::Right},
    {BodyPart::LeftFoot, formats::Role::Foot, formats::Side::Left},
    {BodyPart::RightFoot, formats::Role::Foot, formats::Side::Right},
};

std::size_t at(int index) { return static_cast<std::size_t>(index); }

Vector3 minus(const Vector3& a, const Vector3& b) { return {a[0] - b[0], a[1] - b[1], a[2] - b[2]}; }

Matrix33 linearOf(const GltfMatrix& matrix)
{
    Matrix33 linear;
    for (std::size_t column = 0; column < 3; ++column)
        for (std::size_t row = 0; row < 3; ++row)
            linear.m[row][column] = matrix[column * 4 + row];
    return linear;
}

bool isMirrored(const GltfMatrix& matrix) { return refhost::determinant(linearOf(matrix)) < 0; }

/// The orthogonal axes that `worldPose` takes for those of the matrix: a mirrored basis has its x axis turned
/// round.
Matrix33 axesOf(const WorldPose& world, bool mirrored)
{
    Matrix33 axes = refhost::matrixFromQuaternion(world.rotation);
    for (std::size_t row = 0; mirrored && row < 3; ++row)
        axes.m[row][0] = -axes.m[row][0];
    return axes;
}

Vector3 transformed(const GltfMatrix& matrix, const Vector3& point)
{
    const Vector3 turned = linearOf(matrix) * point;
    return {turned[0] + matrix[12], turned[1] + matrix[13], turned[2] + matrix[14]};
}

/// In the space of `parent`.
LocalPose below(const WorldPose& parent, const WorldPose& world)
{
    const Matrix33 back = refhost::transposed(refhost::matrixFromQuaternion(parent.rotation));
    return {back * minus(world.position, parent.position),
            refhost::quaternionFromMatrix(back * refhost::matrixFromQuaternion(world.rotation))};
}

WorldPose above(const WorldPose& parent, const LocalPose& local)
{
    const Matrix33 turn = refhost::matrixFromQuaternion(parent.rotation);
    const Vector3 step = turn * local.translation;
    return {{parent.position[0] + step[0], parent.position[1] + step[1], parent.position[2] + step[2]},
            refhost::quaternionFromMatrix(turn * refhost::matrixFromQuaternion(local.rotation))};
}

/// A file holds single precision, and what is measured is what it holds.
template <std::size_t Count>
std::array<double, Count> asWritten(std::array<double, Count> values)
{
    for (double& value : values)
        value = static_cast<double>(static_cast<float>(value));
    return values;
}

std::array<double, 4> unit(std::array<double, 4> q)
{
    const double length = std::sqrt(q[0] * q[0] + q[1] * q[1] + q[2] * q[2] + q[3] * q[3]);
    for (double& value : q)
        value /= length;
    return q;
}

/// Exact for small angles, and blind to the lengths of the quaternions: twice the arc tangent of the vector
/// part of a^-1 b over its w.
double degreesApart(const std::array<double, 4>& a, const std::array<double, 4>& b)
{
    const double w = a[0] * b[0] + a[1] * b[1] + a[2] * b[2] + a[3] * b[3];
    const double x = a[3] * b[0] - b[3] * a[0] - a[1] * b[2] + a[2] * b[1];
    const double y = a[3] * b[1] - b[3] * a[1] - a[2] * b[0] + a[0] * b[2];
    const double z = a[3] * b[2] - b[3] * a[2] - a[0] * b[1] + a[1] * b[0];
    return 2 * std::atan2(std::hypot(x, y, z), std::abs(w)) * kDegrees;
}

} // namespace

GltfTrackMotion::GltfTrackMotion(formats::Gltf gltf, std::size_t animation, std::vector<double> times)
    : m_Gltf(std::move(gltf)),
      m_Animation(animation),
      m_JointOf(m_Gltf.nodes.size(), -1),
      m_Times(std::move(times))
{
    makeJoints();
    nameParts();
}

const TrackWords& GltfTrackMotion::words() const { return kWords; }

void GltfTrackMotion::makeJoints()
{
    GltfPose rest = formats::sampleAnimation(m_Gltf, m_Animation, m_Times.front());
    for (const int index : m_Gltf.skeleton) {
        const GltfNode& node = m_Gltf.nodes[at(index)];
        rest[at(index)] = node.rest;
        TrackJoint joint;
        joint.name = node.name;
        for (int up = node.parent; up >= 0 && joint.parent < 0; up = m_Gltf.nodes[at(up)].parent)
            joint.parent = m_JointOf[at(up)];
        joint.turns.fill(!node.sheared);
        joint.moves = !node.sheared;
        m_JointOf[at(index)] = static_cast<int>(m_Joints.size());
        m_Joints.push_back(std::move(joint));
    }
    const std::vector<GltfMatrix> world = formats::worldMatrices(m_Gltf, rest);
    for (const int index : m_Gltf.skeleton)
        m_Mirrored.push_back(isMirrored(world[at(index)]));
    TrackPose pose = poseOf(world);
    for (std::size_t i = 0; i < m_Joints.size(); ++i)
        m_Joints[i].rest = pose.local[i];
    m_Rest = std::move(pose.world);
}

void GltfTrackMotion::nameParts()
{
    const formats::HumanoidRoles roles = formats::findHumanoidRoles(formats::roleJoints(m_Gltf));
    if (!roles.recognised)
        return;
    for (const PartRow& row : kParts) {
        const int node = roles.find(row.role, row.side);
        if (node >= 0 && m_JointOf[at(node)] >= 0)
            m_Joints[at(m_JointOf[at(node)])].part = row.part;
    }
}

void GltfTrackMotion::cut(std::size_t first, std::size_t last)
{
    m_Times.resize(last + 1);
    m_Times.erase(m_Times.begin(), m_Times.begin() + static_cast<std::ptrdiff_t>(first));
}

TrackPose GltfTrackMotion::poseOf(const std::vector<GltfMatrix>& nodeWorlds) const
{
    TrackPose pose;
    for (std::size_t i = 0; i < m_Joints.size(); ++i) {
        const WorldPose world = formats::worldPose(nodeWorlds[at(m_Gltf.skeleton[i])]);
        const int parent = m_Joints[i].parent;
        pose.local.push_back(parent < 0 ? LocalPose{world.position, world.rotation}
                                        : below(pose.world[at(parent)], world));
        pose.world.push_back(world);
    }
    return pose;
}

TrackPose GltfTrackMotion::read(std::size_t frame) const
{
    return poseOf(
        formats::worldMatrices(m_Gltf, formats::sampleAnimation(m_Gltf, m_Animation, m_Times[frame])));
}

void GltfTrackMotion::startKeys(const std::vector<bool>& solved)
{
    m_KeysOf.assign(m_Joints.size(), -1);
    for (std::size_t i = 0; i < m_Joints.size(); ++i) {
        const int index = m_Gltf.skeleton[i];
        if (!solved[i] || m_Gltf.nodes[at(index)].sheared)
            continue;
        m_KeysOf[i] = static_cast<int>(m_Keys.size());
        Keys keys{index, m_Joints[i].parent < 0, {}, {}};
        keys.rotations.resize(m_Times.size());
        keys.translations.resize(keys.isRoot ? m_Times.size() : 0);
        m_Keys.push_back(std::move(keys));
    }
}

/// The rotation R of a node whose axes in the world are to be D: with the axes P of its parent and the signs
/// S of its own scale, P R S = D, so R = P^T D S.
std::array<double, 4> GltfTrackMotion::nodeRotation(std::size_t node, const GltfMatrix* above,
                                                    const WorldPose& wanted, const GltfTransform& own) const
{
    Matrix33 rotation = axesOf(wanted, m_Mirrored[at(m_JointOf[node])]);
    for (std::size_t row = 0; row < 3; ++row)
        for (std::size_t column = 0; column < 3; ++column)
            if (own.scale[column] < 0)
                rotation.m[row][column] = -rotation.m[row][column];
    if (above)
        rotation = refhost::transposed(axesOf(formats::worldPose(*above), isMirrored(*above))) * rotation;
    return unit(refhost::quaternionFromMatrix(rotation));
}

WrittenPose GltfTrackMotion::write(std::size_t frame, const std::vector<LocalPose>& local,
                                   const std::vector<bool>& solved)
{
    if (m_KeysOf.empty())
        startKeys(solved);
    GltfPose pose = formats::sampleAnimation(m_Gltf, m_Animation, m_Times[frame]);
    std::vector<WorldPose> wanted(m_Joints.size());
    std::vector<GltfMatrix> world(m_Gltf.nodes.size());
    for (const int index : m_Gltf.order) {
        const GltfNode& node = m_Gltf.nodes[at(index)];
        const GltfMatrix* parent = node.parent < 0 ? nullptr : &world[at(node.parent)];
        if (const int j = m_JointOf[at(index)]; j >= 0) {
            const int up = m_Joints[at(j)].parent;
            wanted[at(j)] = up < 0 ? WorldPose{local[at(j)].translation, local[at(j)].rotation}
                                   : above(wanted[at(up)], local[at(j)]);
            if (m_KeysOf[at(j)] >= 0) {
                Keys& keys = m_Keys[at(m_KeysOf[at(j)])];
                GltfTransform& own = pose[at(index)];
                own.scale = node.rest.scale;
                own.translation = node.rest.translation;
                if (up < 0) {
                    own.translation =
                        asWritten(parent ? transformed(formats::inverse(*parent), wanted[at(j)].position)
                                         : wanted[at(j)].position);
                    keys.translations[frame] = own.translation;
                }
                own.rotation = asWritten(nodeRotation(at(index), parent, wanted[at(j)], own));
                keys.rotations[frame] = own.rotation;
            }
        }
        const GltfMatrix own = node.sheared ? node.matrix : formats::localMatrix(pose[at(index)]);
        world[at(index)] = parent ? formats::multiply(*parent, own) : own;
    }
    WrittenPose written{poseOf(world), {}};
    for (std::size_t j = 0; j < m_Joints.size(); ++j) {
        const LocalPose& got = written.pose.local[j];
        const Vector3 off = minus(got.translation, local[j].translation);
        if (solved[j])
            written.losses.push_back(
                {j, std::hypot(off[0], off[1], off[2]), degreesApart(got.rotation, local[j].rotation)});
    }
    return written;
}

/// Solved joints rest in what isn't solved of them, whatever the file's keys say.
formats::GltfClip GltfTrackMotion::clip() const
{
    formats::GltfClip clip{m_Gltf.animations[m_Animation].name, {}, {}};
    for (const Keys& keys : m_Keys) {
        const GltfTransform& rest = m_Gltf.nodes[at(keys.node)].rest;
        formats::GltfTrack turns{keys.node, GltfPath::Rotation, formats::GltfInterpolation::Linear, {}, {}};
        formats::GltfTrack places = turns, sizes = turns;
        places.path = GltfPath::Translation;
        sizes.path = GltfPath::Scale;
        for (std::size_t i = 0; i < m_Times.size(); ++i) {
            formats::addKey(turns, m_Times[i], keys.rotations[i]);
            if (keys.isRoot)
                formats::addKey(places, m_Times[i], keys.translations[i]);
        }
        if (!keys.isRoot)
            formats::addKey(places, m_Times.front(), rest.translation);
        formats::addKey(sizes, m_Times.front(), rest.scale);
        clip.tracks.insert(clip.tracks.end(), {std::move(turns), std::move(places), std::move(sizes)});
    }
    return clip;
}

WrittenMotion GltfTrackMotion::finish(const std::string& file, const OutputChoice& choice)
{
    const double step = m_Times.size() > 1
        ? (m_Times.back() - m_Times.front()) / static_cast<double>(m_Times.size() - 1)
        : formats::frameStep(m_Gltf.animations[m_Animation]);
    return writeClip(file, m_Gltf, clip(), m_Animation, choice, step);
}

} // namespace app
