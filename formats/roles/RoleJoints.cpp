// SPDX-License-Identifier: MIT
// Rest positions in the world.
#include "formats/RoleJoints.h"

namespace formats {

std::vector<RoleJoint> roleJoints(const BvhMotion& motion)
{
    std::vector<RoleJoint> joints;
    const std::vector<WorldPose> world = worldPose(motion, restPose(motion));
    for (std::size_t i = 0; i < world.size(); ++i) {
        const BvhJoint& joint = motion.joints[i];
        joints.push_back({joint.name, joint.parent, world[i].position, joint.endSite, {}});
    }
    return joints;
}

std::vector<RoleJoint> roleJoints(const Gltf& gltf)
{
    std::vector<RoleJoint> joints;
    const std::vector<GltfMatrix> world = worldMatrices(gltf, restPose(gltf));
    for (std::size_t i = 0; i < world.size(); ++i)
        joints.push_back({gltf.nodes[i].name,
                          gltf.nodes[i].parent,
                          {world[i][12], world[i][13], world[i][14]},
                          !gltf.skeleton.empty(),
                          {}});
    for (const int node : gltf.skeleton)
        for (int i = node; i >= 0 && joints[static_cast<std::size_t>(i)].endSite;
             i = joints[static_cast<std::size_t>(i)].parent)
            joints[static_cast<std::size_t>(i)].endSite = false;
    for (const GltfHumanBone& bone : gltf.humanBones)
        joints[static_cast<std::size_t>(bone.node)].vrmBone = bone.bone;
    return joints;
}

} // namespace formats
