// SPDX-License-Identifier: MIT
// Poses into the channels of a BVH file, or into the nodes of a glTF file.
#include "retarget/MotionOutput.h"

#include "shared/Console.h"
#include "shared/Files.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

using refhost::Matrix33;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// The rotation that takes the figure's up axis to +Y; none where that is up already.
Matrix33 uprightTurn(const formats::FigureGuess& figure)
{
    const double quarter = M_PI / 2 * figure.upSign;
    if (figure.upAxis == 0)
        return refhost::matrixFromEuler({0, 0, quarter}, 0);
    if (figure.upAxis == 2)
        return refhost::matrixFromEuler({-quarter, 0, 0}, 0);
    return figure.upSign < 0 ? refhost::matrixFromEuler({M_PI, 0, 0}, 0) : Matrix33();
}

} // namespace

OutputFormat outputFormat(const std::string& path)
{
    const std::string ending = endingOf(path);
    if (ending == ".bvh")
        return OutputFormat::Bvh;
    if (ending == ".glb" || ending == ".vrm")
        return OutputFormat::Glb;
    throw BadInput(fmt::format("-o {}: the ending says which format to write; give a name that ends in .bvh "
                               "or .glb, for a glTF target .glb",
                               path));
}

MotionOutput::MotionOutput(const FigureFile& target, OutputFormat format, std::size_t frameCount,
                           double frameSeconds, std::string name, bool body)
    : m_Target(target), m_Format(format), m_Body(body), m_Name(std::move(name))
{
    if (target.isGltf() && format != OutputFormat::Glb)
        throw BadInput(fmt::format("-o: the target {} is a glTF file, so the output is one too; give a name "
                                   "that ends in .glb",
                                   target.path));
    if (body && (target.isGltf() || format != OutputFormat::Glb))
        throw BadInput("--body: only a BVH target written as .glb gets a body; leave it out");
    if (format == OutputFormat::Bvh)
        startBvh(frameCount, frameSeconds);
    else
        startGlb(frameCount, frameSeconds);
}

void MotionOutput::startBvh(std::size_t frameCount, double frameSeconds)
{
    m_Motion = m_Target.bvh();
    // Nothing of the target's own motion is to shine through.
    m_Motion.values.clear();
    m_Motion.frameCount = 0;
    formats::resizeFrames(m_Motion, frameCount);
    m_Motion.frameTime = frameSeconds;
    m_Pose = formats::restPose(m_Motion);
    m_LossDegrees.resize(m_Pose.size());
}

void MotionOutput::startGlb(std::size_t frameCount, double frameSeconds)
{
    for (std::size_t i = 0; i < frameCount; ++i)
        m_Times.push_back(static_cast<double>(i) * frameSeconds);
}

void MotionOutput::frame(std::size_t frame, RetargetScene& scene)
{
    if (m_Format == OutputFormat::Bvh)
        bvhFrame(frame, scene);
    else
        glbFrame(scene);
}

void MotionOutput::bvhFrame(std::size_t frame, RetargetScene& scene)
{
    for (const int joint : scene.rigJoints()) {
        const RestJoint local = scene.targetLocal(joint);
        m_Pose[at(joint)].rotation = refhost::quaternionFromMatrix(local.rotation);
        if (joint == scene.rigJoints().front())
            m_Pose[at(joint)].translation = local.position;
    }
    for (const formats::PoseLoss& loss : formats::setLocalPose(m_Motion, frame, m_Pose))
        m_LossDegrees[loss.joint] = std::max(m_LossDegrees[loss.joint], loss.rotationDegrees);
}

void MotionOutput::glbFrame(RetargetScene& scene)
{
    if (m_Nodes.empty()) {
        m_Nodes = scene.rigJoints();
        m_Rotations.resize(m_Nodes.size());
    }
    for (std::size_t i = 0; i < m_Nodes.size(); ++i) {
        const RestJoint local = scene.targetLocal(m_Nodes[i]);
        m_Rotations[i].push_back(refhost::quaternionFromMatrix(local.rotation));
        if (i == 0)
            m_RootTranslations.push_back(local.position);
    }
}

std::string MotionOutput::finish()
{
    if (m_Format == OutputFormat::Glb)
        return finishGlb();
    for (std::size_t i = 0; i < m_LossDegrees.size(); ++i)
        if (m_LossDegrees[i] > 0.1)
            m_Notes.push_back(fmt::format("'{}' has too few rotation channels in {}; the motion as written "
                                          "differs by up to {} degrees",
                                          m_Motion.joints[i].name, m_Target.path,
                                          rounded(m_LossDegrees[i], 3)));
    return formats::writeBvh(m_Motion);
}

/// The bones of a BVH target as nodes, in metres and with +Y up.
formats::GltfWriteResult MotionOutput::skeletonGlb()
{
    const formats::BvhMotion& motion = m_Target.bvh();
    const formats::FigureGuess figure = formats::guessFigure(motion);
    const Matrix33 upright = uprightTurn(figure);
    const auto placed = [&](const std::array<double, 3>& v) {
        return refhost::Vector3{v[0] * figure.metresPerUnit, v[1] * figure.metresPerUnit,
                                v[2] * figure.metresPerUnit};
    };
    std::vector<formats::GltfBone> bones;
    const std::vector<formats::LocalPose> rest = formats::restPose(motion);
    for (std::size_t i = 0; i < motion.joints.size(); ++i) {
        formats::GltfBone bone{motion.joints[i].name, motion.joints[i].parent, {}};
        if (motion.joints[i].endSite)
            bone.name = motion.joints[at(bone.parent)].name + "_end";
        bone.rest.translation = placed(rest[i].translation);
        bone.rest.rotation = rest[i].rotation;
        if (bone.parent < 0) {
            bone.rest.translation = upright * bone.rest.translation;
            bone.rest.rotation =
                refhost::quaternionFromMatrix(upright * refhost::matrixFromQuaternion(bone.rest.rotation));
        }
        bones.push_back(bone);
    }
    formats::GltfClip clip{m_Name, m_Times, {}};
    for (std::size_t i = 0; i < m_Nodes.size(); ++i) {
        formats::GltfNodeKeys keys{m_Nodes[i], {}, std::move(m_Rotations[i]), {}};
        if (bones[at(keys.node)].parent < 0)
            for (auto& rotation : keys.rotations)
                rotation = refhost::quaternionFromMatrix(upright * refhost::matrixFromQuaternion(rotation));
        if (i == 0)
            for (const auto& translation : m_RootTranslations)
                keys.translations.push_back(bones[at(keys.node)].parent < 0 ? upright * placed(translation)
                                                                            : placed(translation));
        clip.keys.push_back(std::move(keys));
    }
    return formats::writeSkeletonGlb(bones, clip, {.body = m_Body});
}

/// A new animation takes the place of the first one, track by track; what that moved besides rests.
std::string MotionOutput::finishGlb()
{
    if (!m_Target.isGltf())
        return bytesOf(skeletonGlb());
    const formats::Gltf& gltf = m_Target.gltf();
    const formats::GltfPose rest = formats::restPose(gltf);
    std::vector<formats::GltfNodeKeys> keys(gltf.nodes.size());
    for (std::size_t i = 0; i < m_Nodes.size(); ++i)
        keys[at(m_Nodes[i])].rotations = std::move(m_Rotations[i]);
    keys[at(m_Nodes.front())].translations = std::move(m_RootTranslations);
    if (!gltf.animations.empty())
        for (const formats::GltfTrack& track : gltf.animations.front().tracks) {
            formats::GltfNodeKeys& node = keys[at(track.node)];
            const formats::GltfTransform& still = rest[at(track.node)];
            if (track.path == formats::GltfPath::Translation && node.translations.empty())
                node.translations.assign(m_Times.size(), still.translation);
            else if (track.path == formats::GltfPath::Rotation && node.rotations.empty())
                node.rotations.assign(m_Times.size(), still.rotation);
            else if (track.path == formats::GltfPath::Scale && node.scales.empty())
                node.scales.assign(m_Times.size(), still.scale);
        }
    formats::GltfClip clip{m_Name, std::move(m_Times), {}};
    for (std::size_t i = 0; i < keys.size(); ++i) {
        keys[i].node = static_cast<int>(i);
        if (!keys[i].rotations.empty() || !keys[i].translations.empty() || !keys[i].scales.empty())
            clip.keys.push_back(std::move(keys[i]));
    }
    return bytesOf(formats::writeGlb(gltf, clip, {.replaceAnimation = gltf.animations.empty() ? -1 : 0}));
}

std::string MotionOutput::bytesOf(formats::GltfWriteResult written) const
{
    if (const auto* error = std::get_if<formats::GltfError>(&written))
        throw BadInput(fmt::format("{}: {}: {}", m_Target.path, error->place, error->reason));
    return std::get<std::string>(std::move(written));
}

} // namespace app
