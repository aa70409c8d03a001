// SPDX-License-Identifier: MIT
// Poses into the channels of a BVH file, or into the nodes of a glTF file.
#include "retarget/MotionOutput.h"

#include "formats/GltfWriter.h"
#include "shared/Console.h"

#include <fmt/format.h>

#include <algorithm>
#include <filesystem>

namespace app {

namespace {

std::size_t at(int index) { return static_cast<std::size_t>(index); }

} // namespace

OutputFormat outputFormat(const std::string& path)
{
    std::string ending = std::filesystem::path(path).extension().string();
    std::transform(ending.begin(), ending.end(), ending.begin(),
                   [](char c) { return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c; });
    if (ending == ".bvh")
        return OutputFormat::Bvh;
    if (ending == ".glb" || ending == ".vrm")
        return OutputFormat::Glb;
    throw BadInput(fmt::format("-o {}: the ending says which format to write; give a name that ends in .bvh "
                               "for a BVH target or .glb for a glTF target",
                               path));
}

MotionOutput::MotionOutput(const FigureFile& target, OutputFormat format, std::size_t frameCount,
                           double frameSeconds, std::string name)
    : m_Target(target), m_Format(format), m_Name(std::move(name))
{
    if (target.isGltf() != (format == OutputFormat::Glb))
        throw BadInput(fmt::format("-o: the target {} is a {} file, so the output is one too; give a name "
                                   "that ends in {}",
                                   target.path, target.isGltf() ? "glTF" : "BVH",
                                   target.isGltf() ? ".glb" : ".bvh"));
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

/// A new animation takes the place of the first one, track by track; what that moved besides rests.
std::string MotionOutput::finishGlb()
{
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
    formats::GltfWriteResult written =
        formats::writeGlb(gltf, clip, {.replaceAnimation = gltf.animations.empty() ? -1 : 0});
    if (const auto* error = std::get_if<formats::GltfError>(&written))
        throw BadInput(fmt::format("{}: {}: {}", m_Target.path, error->place, error->reason));
    return std::get<std::string>(std::move(written));
}

} // namespace app
