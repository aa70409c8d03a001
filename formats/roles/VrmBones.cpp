// SPDX-License-Identifier: MIT
// VRM's table of human bones, both of version 0 and 1.0.
#include "roles/VrmBones.h"

#include "roles/Points.h"

#include <algorithm>
#include <string_view>

namespace formats {

namespace {

struct VrmRow {
    std::string_view bone; ///< without left or right
    Role role;
    int index = 0;
};

// Version 0 counts a thumb from proximal on, 1.0 from metacarpal on; which it is, the hand as a whole tells.
constexpr VrmRow kRows[] = {
    {"hips", Role::Hips},
    {"spine", Role::Spine, 0},
    {"chest", Role::Spine, 1},
    {"upperChest", Role::Spine, 2},
    {"neck", Role::Neck},
    {"head", Role::Head},
    {"jaw", Role::Face},
    {"Eye", Role::Face},
    {"Shoulder", Role::Clavicle},
    {"UpperArm", Role::UpperArm},
    {"LowerArm", Role::LowerArm},
    {"Hand", Role::Hand},
    {"UpperLeg", Role::UpperLeg},
    {"LowerLeg", Role::LowerLeg},
    {"Foot", Role::Foot},
    {"Toes", Role::Toes},
    {"ThumbMetacarpal", Role::Thumb, 1},
    {"ThumbProximal", Role::Thumb, 2},
    {"ThumbIntermediate", Role::Thumb, 2},
    {"ThumbDistal", Role::Thumb, 3},
    {"IndexProximal", Role::Index, 1},
    {"IndexIntermediate", Role::Index, 2},
    {"IndexDistal", Role::Index, 3},
    {"MiddleProximal", Role::Middle, 1},
    {"MiddleIntermediate", Role::Middle, 2},
    {"MiddleDistal", Role::Middle, 3},
    {"RingProximal", Role::Ring, 1},
    {"RingIntermediate", Role::Ring, 2},
    {"RingDistal", Role::Ring, 3},
    {"LittleProximal", Role::Pinky, 1},
    {"LittleIntermediate", Role::Pinky, 2},
    {"LittleDistal", Role::Pinky, 3},
};

JointRole roleOfBone(std::string_view bone, bool oldThumbs)
{
    Side side = Side::Middle;
    if (bone.starts_with("left") || bone.starts_with("right")) {
        side = bone[0] == 'l' ? Side::Left : Side::Right;
        bone.remove_prefix(side == Side::Left ? 4 : 5);
    }
    for (const VrmRow& row : kRows)
        if (row.bone == bone) {
            const int index = oldThumbs && bone == "ThumbProximal" ? 1 : row.index;
            return {row.role, side, index, RoleReason::VrmBone};
        }
    return {};
}

/// Sides and axes from the stated joints, for a figure that shape and names alone didn't give.
bool findAxes(const std::vector<RoleJoint>& joints, HumanoidRoles& roles)
{
    const auto at = [&](Role role, Side side, Vector& out) {
        const int joint = roles.find(role, side);
        if (joint >= 0)
            out = joints[static_cast<std::size_t>(joint)].position;
        return joint >= 0;
    };
    Vector legs[2], arms[2];
    for (const Role role : {Role::LowerArm, Role::Hand, Role::LowerLeg, Role::Foot})
        for (const Side side : {Side::Left, Side::Right})
            if (roles.find(role, side) < 0)
                return false;
    if (roles.find(Role::Hips) < 0 || !at(Role::UpperLeg, Side::Left, legs[0])
        || !at(Role::UpperLeg, Side::Right, legs[1]) || !at(Role::UpperArm, Side::Left, arms[0])
        || !at(Role::UpperArm, Side::Right, arms[1]))
        return false;
    roles.up = unit(middle(arms[0], arms[1]) - middle(legs[0], legs[1]));
    roles.left = unit(across(legs[0] - legs[1], roles.up));
    roles.forward = unit(cross(roles.left, roles.up));
    return length(roles.up) > 0.5 && length(roles.left) > 0.5;
}

} // namespace

bool takeVrmBones(const std::vector<RoleJoint>& joints, HumanoidRoles& roles)
{
    const bool oldThumbs = std::any_of(joints.begin(), joints.end(), [](const RoleJoint& joint) {
        return joint.vrmBone.find("ThumbIntermediate") != std::string::npos;
    });
    HumanoidRoles stated = roles;
    bool any = false;
    for (std::size_t i = 0; i < joints.size(); ++i) {
        const JointRole role = roleOfBone(joints[i].vrmBone, oldThumbs);
        if (role.role == Role::None)
            continue;
        any = true;
        for (JointRole& other : stated.joints)
            if (other.role == role.role && other.side == role.side && other.reason != RoleReason::VrmBone)
                other = {};
        stated.joints[i] = role;
    }
    // Spine and neck count from 0 without gaps, whichever of the optional bones the file has.
    int place = 0;
    for (const int joint : stated.chain(Role::Spine))
        stated.joints[static_cast<std::size_t>(joint)].index = place++;
    if (!any || !findAxes(joints, stated))
        return false;
    stated.recognised = true;
    stated.why.clear();
    roles = std::move(stated);
    return true;
}

std::vector<std::string> vrmBones(const HumanoidRoles& roles)
{
    std::vector<std::string> bones(roles.joints.size());
    if (!roles.recognised)
        return bones;
    const auto name = [&](int joint, std::string bone) {
        bones[static_cast<std::size_t>(joint)] = std::move(bone);
    };
    const std::vector<int> spine = roles.chain(Role::Spine);
    if (!spine.empty())
        name(spine.front(), "spine");
    if (spine.size() > 1)
        name(spine[spine.size() > 2 ? spine.size() / 2 : 1], "chest");
    if (spine.size() > 2)
        name(spine.back(), "upperChest");
    for (const VrmRow& row : kRows) {
        if (row.role == Role::Spine || row.role == Role::Face || row.bone == "ThumbIntermediate")
            continue;
        for (const Side side : {Side::Middle, Side::Left, Side::Right})
            if (const int joint = roles.find(row.role, side, row.index); joint >= 0) {
                const char* prefix = side == Side::Left ? "left" : side == Side::Right ? "right" : "";
                name(joint, prefix + std::string(row.bone));
            }
    }
    return bones;
}

} // namespace formats
