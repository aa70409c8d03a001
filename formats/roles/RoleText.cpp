// SPDX-License-Identifier: MIT
// Roles as words, and as the bone names of Biovision files.
#include "formats/HumanoidRoles.h"

#include <array>

namespace formats {

namespace {

struct RoleName {
    const char* text;
    const char* biovision; ///< after the side, where the role has one; null where there is none
    bool counted = false; ///< the index belongs to the text
};

// In the order of Role.
constexpr std::array<RoleName, kRoleCount> kRoleNames = {{
    {"none", nullptr},
    {"root", nullptr},
    {"hips", "Hips"},
    {"spine", "Chest", true},
    {"neck", "Neck", true},
    {"head", "Head"},
    {"clavicle", "Collar"},
    {"upper arm", "Shoulder"},
    {"lower arm", "Elbow"},
    {"hand", "Wrist"},
    {"upper leg", "Hip"},
    {"lower leg", "Knee"},
    {"foot", "Ankle"},
    {"toes", "Toe"},
    {"thumb", nullptr, true},
    {"index finger", nullptr, true},
    {"middle finger", nullptr, true},
    {"ring finger", nullptr, true},
    {"little finger", nullptr, true},
    {"fingers", nullptr, true},
    {"twist", nullptr, true},
    {"end", nullptr},
    {"face", nullptr},
}};

} // namespace

std::string roleText(const JointRole& role)
{
    const RoleName& name = kRoleNames[static_cast<std::size_t>(role.role)];
    std::string text = role.side == Side::Left ? "left " : role.side == Side::Right ? "right " : "";
    text += name.text;
    const bool fromNought = role.role == Role::Spine || role.role == Role::Neck || role.role == Role::Twist
        || role.role == Role::Fingers;
    if (name.counted)
        text += ' ' + std::to_string(role.index + (fromNought ? 1 : 0));
    return text;
}

std::string biovisionName(const JointRole& role)
{
    const RoleName& name = kRoleNames[static_cast<std::size_t>(role.role)];
    if (!name.biovision)
        return {};
    std::string text = role.side == Side::Left ? "Left" : role.side == Side::Right ? "Right" : "";
    text += name.biovision;
    // Chest, Chest1, Chest2, Chest3: a longer spine ends in Chest3 all the same, and every neck is a Neck.
    if (role.role == Role::Spine && role.index > 0)
        text += std::to_string(role.index > 3 ? 3 : role.index);
    return text;
}

} // namespace formats
