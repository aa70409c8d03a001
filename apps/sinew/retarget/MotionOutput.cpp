// SPDX-License-Identifier: MIT
// Poses into the channels of a BVH file, or into the nodes of a glTF file. What the rig moves, what carries
// it and the rest of the body leave their old motion; everything else keeps it.
#include "retarget/MotionOutput.h"

#include "shared/Console.h"
#include "shared/GltfFile.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

using formats::GltfInterpolation;
using formats::GltfPath;
using formats::GltfTrack;
using formats::LocalPose;
using formats::Role;

std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// Hair, props, eyes and jaws have a motion of their own; an idle finger or toe belongs to the old one.
bool isBody(Role role) { return role != Role::None && role != Role::Face && role != Role::End; }

LocalPose between(const LocalPose& a, const LocalPose& b, double share)
{
    double cosine = 0, square = 0;
    LocalPose out;
    for (std::size_t c = 0; c < 4; ++c)
        cosine += a.rotation[c] * b.rotation[c];
    for (std::size_t c = 0; c < 4; ++c) {
        out.rotation[c] = a.rotation[c] * (1 - share) + b.rotation[c] * (cosine < 0 ? -share : share);
        square += out.rotation[c] * out.rotation[c];
    }
    for (double& value : out.rotation)
        value /= std::sqrt(square);
    for (std::size_t c = 0; c < 3; ++c)
        out.translation[c] = a.translation[c] * (1 - share) + b.translation[c] * share;
    return out;
}

template <std::size_t Width>
GltfTrack stillTrack(int node, GltfPath path, const std::array<double, Width>& value)
{
    GltfTrack track{node, path, GltfInterpolation::Linear, {}, {}};
    formats::addKey(track, 0, value);
    return track;
}

} // namespace

MotionOutput::MotionOutput(const FigureFile& target, const MotionOutputSettings& settings,
                           std::size_t frameCount, double frameSeconds)
    : m_Target(target), m_Settings(settings), m_FrameSeconds(frameSeconds)
{
    if (settings.body && (target.isGltf() || settings.choice.format != formats::MotionFormat::Glb))
        throw BadInput("--body: only a BVH target written as .glb gets a body; leave it out");
    if (!target.isGltf() && (settings.choice.append || !settings.animation.empty()))
        throw BadInput(fmt::format("--append and --target-animation are for a glTF target; {} is a BVH file, "
                                   "which has one motion",
                                   target.path));
    for (std::size_t i = 0; i < frameCount; ++i)
        m_Times.push_back(static_cast<double>(i) * frameSeconds);
    if (target.isGltf())
        m_Animation = chosenAnimation(target.gltf(), settings.animation, "--target-animation");
    else
        startBvh(frameCount);
}

void MotionOutput::startBvh(std::size_t frameCount)
{
    m_Motion = m_Settings.choice.format == formats::MotionFormat::Bvh
        ? m_Target.bvh()
        : formats::withAllChannels(m_Target.bvh());
    m_Motion.values.clear();
    m_Motion.frameCount = 0;
    formats::resizeFrames(m_Motion, frameCount);
    m_Motion.frameTime = m_FrameSeconds;
    m_LossDegrees.resize(m_Motion.joints.size());
}

void MotionOutput::findParts(const RetargetScene& scene)
{
    m_Nodes = scene.rigJoints();
    m_Rotations.resize(m_Nodes.size());
    m_Rests.resize(m_Target.joints.size());
    for (std::size_t i = 0; i < m_Rests.size(); ++i)
        m_Rests[i] = isBody(m_Target.roles.joints[i].role);
    for (const int joint : m_Nodes)
        m_Rests[at(joint)] = true;
    for (int joint = m_Nodes.front(); joint >= 0; joint = m_Target.joints[at(joint)].parent)
        m_Rests[at(joint)] = true;
}

void MotionOutput::frame(std::size_t frame, RetargetScene& scene)
{
    if (m_Nodes.empty())
        findParts(scene);
    if (!m_Target.isGltf())
        return bvhFrame(frame, scene);
    for (std::size_t i = 0; i < m_Nodes.size(); ++i) {
        const RestJoint local = scene.targetLocal(m_Nodes[i]);
        m_Rotations[i].push_back(refhost::quaternionFromMatrix(local.rotation));
        if (i == 0)
            m_RootTranslations.push_back(local.position);
    }
}

/// Rest, and of what keeps its motion the file's own pose at the time; past its end the last one.
std::vector<LocalPose> MotionOutput::ownPose(std::size_t frame) const
{
    const formats::BvhMotion& own = m_Target.bvh();
    std::vector<LocalPose> pose = formats::restPose(own);
    if (own.frameCount == 0 || std::find(m_Rests.begin(), m_Rests.end(), false) == m_Rests.end())
        return pose;
    const double last = static_cast<double>(own.frameCount - 1);
    const double place = std::min(m_Times[frame] / own.frameTime, last);
    const double first = std::min(std::floor(place + 1e-6), last);
    const std::vector<LocalPose> before = formats::localPose(own, static_cast<std::size_t>(first));
    const std::vector<LocalPose> after =
        formats::localPose(own, static_cast<std::size_t>(std::min(first + 1, last)));
    for (std::size_t i = 0; i < pose.size(); ++i)
        if (!m_Rests[i])
            pose[i] = between(before[i], after[i], std::max(0.0, place - first));
    return pose;
}

void MotionOutput::bvhFrame(std::size_t frame, RetargetScene& scene)
{
    std::vector<LocalPose> pose = ownPose(frame);
    for (const int joint : m_Nodes) {
        const RestJoint local = scene.targetLocal(joint);
        pose[at(joint)].rotation = refhost::quaternionFromMatrix(local.rotation);
        if (joint == m_Nodes.front())
            pose[at(joint)].translation = local.position;
    }
    for (const formats::PoseLoss& loss : formats::setLocalPose(m_Motion, frame, pose))
        m_LossDegrees[loss.joint] = std::max(m_LossDegrees[loss.joint], loss.rotationDegrees);
}

WrittenMotion MotionOutput::finish()
{
    if (!m_Target.isGltf())
        return finishBvh();
    return writeClip(m_Target.path, m_Target.gltf(), clip(), m_Animation, m_Settings.choice, m_FrameSeconds);
}

WrittenMotion MotionOutput::finishBvh()
{
    WrittenMotion written =
        writtenMotion(m_Target.path,
                      formats::writeMotion(m_Motion, m_Settings.choice.format, m_Settings.name, {},
                                           {.body = m_Settings.body}),
                      0);
    for (std::size_t i = 0; i < m_LossDegrees.size(); ++i)
        if (m_LossDegrees[i] > 0.1)
            written.notes.push_back(fmt::format("'{}' has too few rotation channels in {}; the motion as "
                                                "written differs by up to {} degrees",
                                                m_Motion.joints[i].name, m_Target.path,
                                                rounded(m_LossDegrees[i], 3)));
    return written;
}

formats::GltfClip MotionOutput::clip()
{
    const formats::Gltf& gltf = m_Target.gltf();
    const formats::GltfPose rest = formats::restPose(gltf);
    formats::GltfClip clip{m_Settings.name, {}, {}};
    std::vector<bool> turns(gltf.nodes.size());
    for (std::size_t i = 0; i < m_Nodes.size(); ++i) {
        GltfTrack track{m_Nodes[i], GltfPath::Rotation, GltfInterpolation::Linear, {}, {}};
        for (std::size_t frame = 0; frame < m_Rotations[i].size(); ++frame)
            formats::addKey(track, m_Times[frame], m_Rotations[i][frame]);
        turns[at(m_Nodes[i])] = true;
        clip.tracks.push_back(std::move(track));
    }
    GltfTrack root{m_Nodes.front(), GltfPath::Translation, GltfInterpolation::Linear, {}, {}};
    for (std::size_t frame = 0; frame < m_RootTranslations.size(); ++frame)
        formats::addKey(root, m_Times[frame], m_RootTranslations[frame]);
    clip.tracks.push_back(std::move(root));
    for (std::size_t i = 0; i < gltf.nodes.size(); ++i) {
        const int node = static_cast<int>(i);
        if (!m_Rests[i] || gltf.nodes[i].sheared)
            continue;
        if (!turns[i])
            clip.tracks.push_back(stillTrack(node, GltfPath::Rotation, rest[i].rotation));
        if (node != m_Nodes.front())
            clip.tracks.push_back(stillTrack(node, GltfPath::Translation, rest[i].translation));
        clip.tracks.push_back(stillTrack(node, GltfPath::Scale, rest[i].scale));
    }
    return clip;
}

} // namespace app
