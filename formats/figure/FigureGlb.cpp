// SPDX-License-Identifier: MIT
// Joints as nodes of a GLB, and as the bones of a VRM animation.
#include "figure/FigurePose.h"
#include "formats/FigureMotion.h"
#include "gltf/ClipWriter.h"
#include "gltf/GltfSkeletonWriter.h"
#include "roles/Points.h"

#include <algorithm>
#include <cmath>
#include <map>

namespace formats {

namespace {

constexpr double kSame = 1e-6; // of numbers of a file

std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// The world that a file's world becomes: turned, then measured in metres.
struct Space {
    Quaternion turn{0, 0, 0, 1};
    double scale = 1;

    WorldPose operator()(const WorldPose& pose) const
    {
        return {rotate(turn, pose.position) * scale, multiply(turn, pose.rotation)};
    }
};

LocalPose localOf(const WorldPose* parent, const WorldPose& world)
{
    return parent ? below(*parent, world) : LocalPose{world.position, world.rotation};
}

bool differ(const double* a, const double* b, std::size_t width, double sign)
{
    for (std::size_t c = 0; c < width; ++c)
        if (!(std::abs(a[c] - sign * b[c]) <= kSame * std::max(1.0, std::abs(b[c]))))
            return true;
    return false;
}

bool differ(const Quaternion& a, const Quaternion& b)
{
    double cosine = 0;
    for (std::size_t c = 0; c < 4; ++c)
        cosine += a[c] * b[c];
    return differ(a.data(), b.data(), 4, cosine < 0 ? -1 : 1);
}

/// Tracks of a node whose local poses are given, those left out that only repeat its rest.
void addTracks(GltfClip& clip, int node, const GltfTransform& rest, const std::vector<double>& times,
               const std::vector<LocalPose>& poses, bool moves)
{
    GltfTrack places{node, GltfPath::Translation, GltfInterpolation::Linear, {}, {}};
    GltfTrack turns{node, GltfPath::Rotation, GltfInterpolation::Linear, {}, {}};
    bool moved = false, turned = false;
    for (std::size_t i = 0; i < times.size(); ++i) {
        addKey(places, times[i], poses[i].translation);
        addKey(turns, times[i], poses[i].rotation);
        moved = moved || differ(poses[i].translation.data(), rest.translation.data(), 3, 1);
        turned = turned || differ(poses[i].rotation, rest.rotation);
    }
    if (moves && moved)
        clip.tracks.push_back(std::move(places));
    if (turned)
        clip.tracks.push_back(std::move(turns));
}

/// A clip can't be empty: where nothing moves, the first node says so.
void keepOne(GltfClip& clip, const std::vector<GltfBone>& bones, const std::vector<double>& times)
{
    if (!clip.tracks.empty() || times.empty() || bones.empty())
        return;
    GltfTrack still{0, GltfPath::Rotation, GltfInterpolation::Linear, {}, {}};
    addKey(still, times.front(), bones.front().rest.rotation);
    clip.tracks.push_back(std::move(still));
}

/// Rotation whose columns are the images of x, y and z.
Quaternion fromAxes(const Vector& x, const Vector& y, const Vector& z)
{
    GltfMatrix matrix = kGltfIdentity;
    std::copy(x.begin(), x.end(), matrix.begin());
    std::copy(y.begin(), y.end(), matrix.begin() + 4);
    std::copy(z.begin(), z.end(), matrix.begin() + 8);
    return decompose(matrix).rotation;
}

/// Shortest turn between unit vectors: (a x b, 1 + a . b), made of unit length.
Quaternion shortestTurn(const Vector& from, const Vector& to)
{
    const Vector axis = cross(from, to);
    const double cosine = dot(from, to);
    if (dot(from, from) < 0.5 || dot(to, to) < 0.5)
        return {0, 0, 0, 1};
    if (cosine < -1 + 1e-9) {
        const Vector side = unit(std::abs(from[0]) < 0.9 ? cross(from, {1, 0, 0}) : cross(from, {0, 1, 0}));
        return {side[0], side[1], side[2], 0};
    }
    return normalised({axis[0], axis[1], axis[2], 1 + cosine});
}

constexpr const char* kRequired[] = {"hips",          "spine",         "head",          "leftUpperLeg",
                                     "leftLowerLeg",  "leftFoot",      "rightUpperLeg", "rightLowerLeg",
                                     "rightFoot",     "leftUpperArm",  "leftLowerArm",  "leftHand",
                                     "rightUpperArm", "rightLowerArm", "rightHand"};

/// Limbs that a T-pose has straight: from this bone to the next one, and which way.
struct Straight {
    const char* bone;
    const char* next;
    Vector way;
};
const Straight kStraight[] = {
    {"leftUpperArm", "leftLowerArm", {1, 0, 0}},    {"leftLowerArm", "leftHand", {1, 0, 0}},
    {"rightUpperArm", "rightLowerArm", {-1, 0, 0}}, {"rightLowerArm", "rightHand", {-1, 0, 0}},
    {"leftUpperLeg", "leftLowerLeg", {0, -1, 0}},   {"leftLowerLeg", "leftFoot", {0, -1, 0}},
    {"rightUpperLeg", "rightLowerLeg", {0, -1, 0}}, {"rightLowerLeg", "rightFoot", {0, -1, 0}},
};

class VrmaWriter {
public:
    explicit VrmaWriter(const FigureMotion& figure) : m_Figure(figure)
    {
        for (std::size_t i = 0; i < figure.joints.size(); ++i)
            if (const std::string& bone = figure.joints[i].bone;
                !bone.empty() && bone != "leftEye" && bone != "rightEye")
                m_JointOf.emplace(bone, static_cast<int>(i));
    }

    std::string write()
    {
        for (const char* bone : kRequired)
            if (!m_JointOf.contains(bone))
                refuse("",
                       "a VRM animation needs a human figure with the bone " + std::string(bone)
                           + ", which was not found in this one");
        standUp();
        listBones();
        pose();
        GltfClip clip{m_Figure.name.empty() ? "motion" : m_Figure.name, {}, {}};
        std::vector<GltfBone> bones;
        for (const Bone& bone : m_Bones) {
            const LocalPose rest =
                localOf(bone.parent < 0 ? nullptr : &m_Bones[at(bone.parent)].rest, bone.rest);
            bones.push_back({bone.name, bone.parent, {rest.translation, rest.rotation, {1, 1, 1}}});
        }
        for (std::size_t i = 0; i < m_Bones.size(); ++i)
            addTracks(clip, static_cast<int>(i), bones[i].rest, m_Figure.times, m_Bones[i].poses, i == 0);
        keepOne(clip, bones, m_Figure.times);
        return finish(bones, clip);
    }

private:
    struct Bone {
        std::string bone, name;
        int joint = 0;
        int parent = -1; // in m_Bones
        WorldPose rest; // in the T-pose
        std::vector<LocalPose> poses;
    };

    /// Left, up and forward of the figure to +X, +Y and +Z, in metres.
    void standUp()
    {
        const StandingAxes axes = standingAxes(m_Figure.roles);
        m_Space.turn = conjugate(fromAxes(cross(axes.up, axes.forward), axes.up, axes.forward));
        m_Space.scale = m_Figure.metresPerUnit;
    }

    /// Hips first, then what hangs from them, parents first.
    void listBones()
    {
        std::vector<int> boneOf(m_Figure.joints.size(), -1);
        const int hips = m_JointOf.at("hips");
        for (std::size_t i = at(hips); i < m_Figure.joints.size(); ++i) {
            const FigureJoint& joint = m_Figure.joints[i];
            const auto mine = m_JointOf.find(joint.bone);
            const bool isBone = mine != m_JointOf.end() && at(mine->second) == i;
            int parent = -1;
            for (int up = joint.parent; up >= 0 && parent < 0; up = m_Figure.joints[at(up)].parent)
                parent = boneOf[at(up)];
            if (!isBone || (parent < 0 && static_cast<int>(i) != hips))
                continue;
            boneOf[i] = static_cast<int>(m_Bones.size());
            m_Bones.push_back({joint.bone, joint.name, static_cast<int>(i), parent, m_Space(joint.rest), {}});
        }
        for (const char* bone : kRequired)
            if (std::none_of(m_Bones.begin(), m_Bones.end(),
                             [&](const Bone& one) { return one.bone == bone; }))
                refuse("",
                       "a VRM animation needs the bone " + std::string(bone) + " below the hips, where '"
                           + m_Figure.joints[at(m_JointOf.at(bone))].name + "' is not");
        makeTPose();
    }

    /// Turns limbs straight; what hangs from them keeps its turn against them, hands and feet keep theirs
    /// against arm and floor.
    void makeTPose()
    {
        std::vector<Quaternion> turns(m_Bones.size(), Quaternion{0, 0, 0, 1});
        std::vector<WorldPose> before;
        for (const Bone& bone : m_Bones)
            before.push_back(bone.rest);
        for (std::size_t i = 0; i < m_Bones.size(); ++i) {
            Bone& bone = m_Bones[i];
            const bool foot = bone.bone.ends_with("Foot");
            if (bone.parent >= 0 && !foot)
                turns[i] = turns[at(bone.parent)];
            for (const Straight& limb : kStraight)
                if (bone.bone == limb.bone)
                    for (std::size_t next = 0; next < m_Bones.size(); ++next)
                        if (m_Bones[next].bone == limb.next)
                            turns[i] =
                                shortestTurn(unit(before[next].position - before[i].position), limb.way);
            if (bone.parent >= 0) {
                const auto above = at(bone.parent);
                bone.rest.position = m_Bones[above].rest.position
                    + rotate(turns[above], before[i].position - before[above].position);
            }
            bone.rest.rotation = multiply(turns[i], before[i].rotation);
        }
    }

    void pose()
    {
        const std::size_t count = m_Figure.joints.size();
        for (std::size_t frame = 0; frame < m_Figure.times.size(); ++frame)
            for (Bone& bone : m_Bones) {
                const auto world = [&](const Bone& one) {
                    return m_Space(m_Figure.poses[frame * count + at(one.joint)]);
                };
                const WorldPose parent = bone.parent < 0 ? WorldPose{} : world(m_Bones[at(bone.parent)]);
                bone.poses.push_back(localOf(bone.parent < 0 ? nullptr : &parent, world(bone)));
            }
    }

    std::string finish(const std::vector<GltfBone>& bones, const GltfClip& clip) const
    {
        GlbBuilder glb;
        addScene(glb, addBones(glb, bones));
        Json human = Json::object();
        for (std::size_t i = 0; i < m_Bones.size(); ++i)
            human[m_Bones[i].bone] = {{"node", i}};
        glb.json["extensionsUsed"] = {"VRMC_vrm_animation"};
        glb.json["extensions"]["VRMC_vrm_animation"] = {{"specVersion", "1.0"},
                                                        {"humanoid", {{"humanBones", std::move(human)}}}};
        addClip(glb, clip, bones.size());
        return glb.finish();
    }

    const FigureMotion& m_Figure;
    std::map<std::string, int> m_JointOf; // by bone
    Space m_Space;
    std::vector<Bone> m_Bones;
};

} // namespace

GltfWriteResult figureGlb(const FigureMotion& figure, const GltfSkeletonOptions& options)
{
    const Space space{figure.upright, figure.metresPerUnit};
    const std::size_t count = figure.joints.size();
    GltfClip clip{figure.name, {}, {}};
    std::vector<GltfBone> bones;
    for (std::size_t i = 0; i < count; ++i) {
        const FigureJoint& joint = figure.joints[i];
        const auto local = [&](const WorldPose& parent, const WorldPose& world) {
            const WorldPose above = space(parent);
            return localOf(joint.parent < 0 ? nullptr : &above, space(world));
        };
        const auto above = joint.parent < 0 ? i : at(joint.parent);
        const LocalPose rest = local(figure.joints[above].rest, joint.rest);
        bones.push_back({joint.name, joint.parent, {rest.translation, rest.rotation, {1, 1, 1}}});
        std::vector<LocalPose> poses;
        for (std::size_t frame = 0; frame < figure.times.size(); ++frame)
            poses.push_back(local(figure.poses[frame * count + above], figure.poses[frame * count + i]));
        addTracks(clip, static_cast<int>(i), bones.back().rest, figure.times, poses, true);
    }
    keepOne(clip, bones, figure.times);
    return writeSkeletonGlb(bones, clip, options);
}

GltfWriteResult figureVrma(const FigureMotion& figure)
{
    try {
        return VrmaWriter(figure).write();
    } catch (GltfRefusal& refusal) {
        return GltfError{std::move(refusal.place), std::move(refusal.reason)};
    }
}

} // namespace formats
