// SPDX-License-Identifier: MIT
// Evaluates frames of a BVH motion: channels to local transforms, and those to the world.
#include "bvh/Channels.h"
#include "bvh/Rotation.h"

#include <algorithm>

namespace formats {

std::vector<LocalPose> restPose(const BvhMotion& motion)
{
    std::vector<LocalPose> pose(motion.joints.size());
    for (std::size_t i = 0; i < pose.size(); ++i)
        pose[i].translation = motion.joints[i].offset;
    return pose;
}

std::vector<LocalPose> localPose(const BvhMotion& motion, std::size_t frame)
{
    std::vector<LocalPose> pose = restPose(motion);
    if (!holdsFrame(motion, frame))
        return pose;
    const double* row = motion.values.data() + frame * motion.channelCount;
    for (std::size_t i = 0; i < pose.size(); ++i) {
        const BvhJoint& joint = motion.joints[i];
        if (!channelsInRow(motion, joint))
            continue;
        LocalPose& local = pose[i];
        for (std::size_t c = 0; c < joint.channels.size(); ++c) {
            const double value = row[joint.firstChannel + c];
            const BvhChannel channel = joint.channels[c];
            const int axis = axisOf(channel);
            if (isRotation(channel)) {
                local.rotation = multiply(local.rotation, aboutAxis(axis, value));
            } else {
                const auto a = static_cast<std::size_t>(axis);
                local.translation[a] = joint.addsOffset ? joint.offset[a] + value : value;
            }
        }
    }
    return pose;
}

std::vector<WorldPose> worldPose(const BvhMotion& motion, const std::vector<LocalPose>& local)
{
    std::vector<WorldPose> world(motion.joints.size());
    for (std::size_t i = 0; i < world.size(); ++i) {
        const LocalPose own = i < local.size() ? local[i] : LocalPose{};
        const int parent = motion.joints[i].parent;
        if (parent < 0 || static_cast<std::size_t>(parent) >= i) {
            world[i] = {own.translation, own.rotation};
            continue;
        }
        const WorldPose& above = world[static_cast<std::size_t>(parent)];
        const Vector step = rotate(above.rotation, own.translation);
        for (std::size_t a = 0; a < 3; ++a)
            world[i].position[a] = above.position[a] + step[a];
        // Renormalised, so that rounding does not grow with the depth of the tree.
        world[i].rotation = normalised(multiply(above.rotation, own.rotation));
    }
    return world;
}

void resizeFrames(BvhMotion& motion, std::size_t frameCount)
{
    const std::size_t width = motion.channelCount;
    motion.values.resize(motion.frameCount * width);
    const std::vector<double> last = motion.frameCount == 0
        ? std::vector<double>(width)
        : std::vector<double>(motion.values.end() - static_cast<std::ptrdiff_t>(width), motion.values.end());
    motion.values.resize(frameCount * width);
    for (std::size_t frame = motion.frameCount; frame < frameCount; ++frame)
        std::copy(last.begin(), last.end(),
                  motion.values.begin() + static_cast<std::ptrdiff_t>(frame * width));
    motion.frameCount = frameCount;
}

} // namespace formats
