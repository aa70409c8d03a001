// SPDX-License-Identifier: MIT
// Reads the world transforms of a figure's joints out of either format.
#include "formats/FigureMotion.h"

#include "bvh/Channels.h"
#include "bvh/Rotation.h"
#include "formats/RoleJoints.h"
#include "roles/VrmBones.h"

namespace formats {

namespace {

std::size_t at(int index) { return static_cast<std::size_t>(index); }

/// The rotation that takes the figure's up axis to +Y.
Quaternion uprightTurn(const FigureGuess& figure)
{
    const double quarter = 90.0 * figure.upSign;
    if (figure.upAxis == 0)
        return aboutAxis(2, quarter);
    if (figure.upAxis == 2)
        return aboutAxis(0, -quarter);
    return figure.upSign < 0 ? aboutAxis(0, 180) : Quaternion{0, 0, 0, 1};
}

} // namespace

FigureMotion figureMotion(const BvhMotion& motion)
{
    FigureMotion out;
    const std::vector<WorldPose> rest = worldPose(motion, restPose(motion));
    out.roles = findHumanoidRoles(roleJoints(motion));
    const std::vector<std::string> bones = vrmBones(out.roles);
    for (std::size_t i = 0; i < motion.joints.size(); ++i) {
        const BvhJoint& joint = motion.joints[i];
        const std::string above = joint.parent < 0 ? "" : motion.joints[at(joint.parent)].name;
        out.joints.push_back(
            {joint.endSite ? above + "_end" : joint.name, joint.parent, joint.endSite, bones[i], rest[i]});
    }
    for (std::size_t frame = 0; frame < motion.frameCount; ++frame) {
        out.times.push_back(static_cast<double>(frame) * motion.frameTime);
        const std::vector<WorldPose> pose = worldPose(motion, localPose(motion, frame));
        out.poses.insert(out.poses.end(), pose.begin(), pose.end());
    }
    const FigureGuess figure = guessFigure(motion);
    out.metresPerUnit = figure.metresPerUnit;
    out.upright = uprightTurn(figure);
    return out;
}

FigureMotion figureMotion(const Gltf& gltf, std::size_t animation, const std::vector<double>& times)
{
    FigureMotion out;
    if (animation < gltf.animations.size())
        out.name = gltf.animations[animation].name;
    const HumanoidRoles roles = findHumanoidRoles(roleJoints(gltf));
    out.roles = roles;
    out.roles.joints.clear();
    // What stands above the skeleton stands as the motion begins.
    GltfPose rest = sampleAnimation(gltf, animation, times.empty() ? 0 : times.front());
    for (const int node : gltf.skeleton)
        rest[at(node)] = gltf.nodes[at(node)].rest;
    const std::vector<GltfMatrix> restWorld = worldMatrices(gltf, rest);
    std::vector<int> jointOf(gltf.nodes.size(), -1);
    for (const int node : gltf.skeleton) {
        FigureJoint joint{gltf.nodes[at(node)].name, -1, false, {}, worldPose(restWorld[at(node)])};
        for (int up = gltf.nodes[at(node)].parent; up >= 0 && joint.parent < 0;
             up = gltf.nodes[at(up)].parent)
            joint.parent = jointOf[at(up)];
        jointOf[at(node)] = static_cast<int>(out.joints.size());
        out.joints.push_back(std::move(joint));
        out.roles.joints.push_back(roles.joints[at(node)]);
    }
    const std::vector<std::string> bones = vrmBones(out.roles);
    for (std::size_t i = 0; gltf.humanBones.empty() && i < bones.size(); ++i)
        out.joints[i].bone = bones[i];
    for (const GltfHumanBone& bone : gltf.humanBones)
        if (const int joint = jointOf[at(bone.node)]; joint >= 0)
            out.joints[at(joint)].bone = bone.bone;
    out.times = times;
    for (const double time : times) {
        const std::vector<GltfMatrix> world = worldMatrices(gltf, sampleAnimation(gltf, animation, time));
        for (const int node : gltf.skeleton)
            out.poses.push_back(worldPose(world[at(node)]));
    }
    return out;
}

} // namespace formats
