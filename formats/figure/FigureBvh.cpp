// SPDX-License-Identifier: MIT
// A BVH rests without any rotation, so its joints turn by what their worlds have turned by since the rest.
#include "bvh/Channels.h"
#include "figure/FigurePose.h"
#include "formats/FigureMotion.h"

#include <algorithm>
#include <cmath>

namespace formats {

namespace {

constexpr double kMoves = 1e-4; // of the figure's size: joints that move less against their parent are fixed

std::size_t at(int index) { return static_cast<std::size_t>(index); }

const std::vector<BvhChannel> kTurns = {BvhChannel::RotationZ, BvhChannel::RotationX, BvhChannel::RotationY};
const std::vector<BvhChannel> kAll = {BvhChannel::PositionX, BvhChannel::PositionY, BvhChannel::PositionZ,
                                      BvhChannel::RotationZ, BvhChannel::RotationX, BvhChannel::RotationY};

void addChannels(BvhMotion& motion, BvhJoint& joint, const std::vector<BvhChannel>& channels)
{
    joint.channels = channels;
    joint.firstChannel = motion.channelCount;
    motion.channelCount += channels.size();
}

/// The pose with every joint at rest in the axes of the world.
std::vector<LocalPose> unturned(const FigureMotion& figure, std::size_t frame)
{
    const std::size_t count = figure.joints.size();
    std::vector<WorldPose> world(count);
    std::vector<LocalPose> local(count);
    for (std::size_t i = 0; i < count; ++i) {
        const WorldPose& pose = figure.poses[frame * count + i];
        world[i] = {pose.position, multiply(pose.rotation, conjugate(figure.joints[i].rest.rotation))};
        const int parent = figure.joints[i].parent;
        local[i] =
            parent < 0 ? LocalPose{world[i].position, world[i].rotation} : below(world[at(parent)], world[i]);
    }
    return local;
}

} // namespace

BvhMotion withAllChannels(const BvhMotion& motion)
{
    BvhMotion out = motion;
    out.channelCount = 0;
    out.values.clear();
    for (BvhJoint& joint : out.joints) {
        joint.addsOffset = false;
        if (!joint.endSite)
            addChannels(out, joint, kAll);
    }
    const std::size_t frames = out.frameCount;
    out.frameCount = 0;
    resizeFrames(out, frames);
    for (std::size_t frame = 0; frame < frames; ++frame)
        setLocalPose(out, frame, localPose(motion, frame));
    return out;
}

BvhMotion figureBvh(const FigureMotion& figure, double frameTime)
{
    BvhMotion motion;
    motion.frameTime = frameTime;
    const std::size_t count = figure.joints.size();
    std::vector<double> moved(count);
    double size = 0;
    for (std::size_t i = 0; i < count; ++i) {
        const FigureJoint& joint = figure.joints[i];
        BvhJoint out;
        out.name = joint.endSite ? "" : joint.name;
        out.parent = joint.parent;
        out.endSite = joint.endSite;
        for (std::size_t a = 0; a < 3 && joint.parent >= 0; ++a)
            out.offset[a] = joint.rest.position[a] - figure.joints[at(joint.parent)].rest.position[a];
        size = std::max(size, std::hypot(out.offset[0], out.offset[1], out.offset[2]));
        motion.joints.push_back(std::move(out));
    }
    for (std::size_t frame = 0; frame < figure.times.size(); ++frame) {
        const std::vector<LocalPose> local = unturned(figure, frame);
        for (std::size_t i = 0; i < count; ++i) {
            const auto& [x, y, z] = local[i].translation;
            const auto& offset = motion.joints[i].offset;
            moved[i] = std::max(moved[i], std::hypot(x - offset[0], y - offset[1], z - offset[2]));
        }
    }
    for (std::size_t i = 0; i < count; ++i)
        if (BvhJoint& joint = motion.joints[i]; !joint.endSite)
            addChannels(motion, joint, joint.parent < 0 || moved[i] > kMoves * size ? kAll : kTurns);
    resizeFrames(motion, figure.times.size());
    for (std::size_t frame = 0; frame < figure.times.size(); ++frame)
        setLocalPose(motion, frame, unturned(figure, frame));
    return motion;
}

} // namespace formats
