// SPDX-License-Identifier: MIT
// Poses from and into the channels of a BVH motion.
#include "track/BvhTrackMotion.h"

#include <algorithm>

namespace app {

namespace {

using formats::BvhChannel;
using formats::BvhJoint;

constexpr TrackWords kWords = {"OFFSET", "has no position channels",
                               "has too few rotation channels for its solved pose",
                               "has too few position channels for its solved pose"};

bool translates(const BvhJoint& joint)
{
    return std::any_of(joint.channels.begin(), joint.channels.end(),
                       [](BvhChannel channel) { return channel <= BvhChannel::PositionZ; });
}

/// A rotation without a channel couldn't be written, so the bone doesn't get it.
std::array<bool, 3> turnsOf(const BvhJoint& joint)
{
    std::array<bool, 3> turns{};
    for (const BvhChannel channel : joint.channels)
        if (channel >= BvhChannel::RotationX)
            turns[static_cast<std::size_t>(channel) - static_cast<std::size_t>(BvhChannel::RotationX)] = true;
    return turns;
}

} // namespace

std::vector<TrackJoint> trackJoints(const formats::BvhMotion& motion)
{
    std::vector<TrackJoint> joints;
    for (const BvhJoint& joint : motion.joints)
        joints.push_back({.name = joint.name,
                          .parent = joint.parent,
                          .endSite = joint.endSite,
                          .rest = {joint.offset, {0, 0, 0, 1}},
                          .turns = turnsOf(joint),
                          .moves = translates(joint),
                          .part = BodyPart::None});
    return joints;
}

BvhTrackMotion::BvhTrackMotion(formats::BvhMotion motion) : m_Motion(std::move(motion))
{
    m_Joints = trackJoints(m_Motion);
}

const TrackWords& BvhTrackMotion::words() const { return kWords; }

/// The rows of the source stay in the frames until they are solved.
void BvhTrackMotion::cut(std::size_t first, std::size_t last)
{
    const std::size_t count = last - first + 1;
    const auto width = static_cast<std::ptrdiff_t>(m_Motion.channelCount);
    const auto row = m_Motion.values.begin() + static_cast<std::ptrdiff_t>(first) * width;
    std::move(row, row + static_cast<std::ptrdiff_t>(count) * width, m_Motion.values.begin());
    formats::resizeFrames(m_Motion, count);
}

TrackPose BvhTrackMotion::read(std::size_t frame) const
{
    TrackPose pose;
    pose.local = formats::localPose(m_Motion, frame);
    pose.world = formats::worldPose(m_Motion, pose.local);
    return pose;
}

WrittenPose BvhTrackMotion::write(std::size_t frame, const std::vector<formats::LocalPose>& local,
                                  const std::vector<bool>& solved)
{
    // Joints that weren't solved keep the very numbers of the file.
    double* row = m_Motion.values.data() + frame * m_Motion.channelCount;
    const auto forKept = [&](auto&& use) {
        for (std::size_t i = 0; i < m_Motion.joints.size(); ++i)
            for (std::size_t c = 0; !solved[i] && c < m_Motion.joints[i].channels.size(); ++c)
                use(row[m_Motion.joints[i].firstChannel + c]);
    };
    m_KeptValues.clear();
    forKept([&](double value) { m_KeptValues.push_back(value); });
    WrittenPose written;
    written.losses = formats::setLocalPose(m_Motion, frame, local);
    auto kept = m_KeptValues.begin();
    m_Kept.exact.resize(m_Motion.values.size());
    forKept([&](double& value) {
        value = *kept++;
        m_Kept.exact[static_cast<std::size_t>(&value - m_Motion.values.data())] = true;
    });
    written.pose = read(frame);
    return written;
}

WrittenMotion BvhTrackMotion::finish(const std::string& file, const OutputChoice& choice)
{
    return writtenMotion(file, formats::writeMotion(m_Motion, choice.format, "solved", m_Kept), 0);
}

} // namespace app
