// SPDX-License-Identifier: MIT
// Which part of a human body each joint of a skeleton is, found by the tree's shape, symmetry and names.
#pragma once

#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace formats {

/// What is known of a joint.
struct RoleJoint {
    std::string name;
    int parent = -1; ///< index in the list, in any order; -1 for a root
    std::array<double, 3> position{}; ///< at rest, in the world, any unit
    bool endSite = false; ///< a mere end point, which never gets a role
    std::string vrmBone; ///< the bone that a VRM file assigns, as `leftUpperArm`; empty otherwise
};

enum class Role : std::uint8_t {
    None,
    Root, ///< above the hips, or carrying hips and trunk
    Hips,
    Spine,
    Neck,
    Head,
    Clavicle,
    UpperArm,
    LowerArm,
    Hand,
    UpperLeg,
    LowerLeg,
    Foot,
    Toes,
    Thumb,
    Index,
    Middle,
    Ring,
    Pinky,
    Fingers, ///< of all fingers in one
    Twist, ///< in or beside a limb, turning with it
    End, ///< behind the last joint of head, hand, finger or foot
    Face, ///< jaw, eyes and the like
};
constexpr int kRoleCount = static_cast<int>(Role::Face) + 1;

enum class Side : std::uint8_t { Middle, Left, Right };

/// What spoke for a role.
enum class RoleReason : std::uint8_t { None, Shape, Name, VrmBone };

struct JointRole {
    Role role = Role::None;
    Side side = Side::Middle;
    int index = 0; ///< place in a chain: spine and neck from the hips up, fingers 1 to 3 (0 in the palm)
    RoleReason reason = RoleReason::None;

    bool operator==(const JointRole&) const = default;
};

struct HumanoidRoles {
    bool recognised = false;
    std::string why; ///< what is missing of a human figure where none was recognised
    std::vector<std::string> notes; ///< what the user should know, such as a guessed left and right
    std::vector<JointRole> joints; ///< one for each joint given; all None where nothing was recognised
    // Unit vectors at rest, in the world.
    std::array<double, 3> up{0, 1, 0};
    std::array<double, 3> forward{0, 0, 1};
    std::array<double, 3> left{1, 0, 0};

    /// The first joint with the role, or -1.
    int find(Role role, Side side = Side::Middle, int index = 0) const;
    /// All joints with the role, in the order of their index.
    std::vector<int> chain(Role role, Side side = Side::Middle) const;
};

/// Finds the human figure in a skeleton, the likeliest where there are several. Never throws on odd input:
/// what isn't human is answered with `recognised` false.
HumanoidRoles findHumanoidRoles(const std::vector<RoleJoint>& joints);

/// Directions at rest, in the world.
struct StandingAxes {
    std::array<double, 3> left, up, forward;
};

/// The axes of a figure: those of its file when it stands upright in it, so that a stoop at rest stays a
/// stoop.
StandingAxes standingAxes(const HumanoidRoles& roles);

/// `left upper arm`, `spine 2` and the like; `none` for a joint without a role.
std::string roleText(const JointRole& role);

/// The joint's name in the manner of Biovision files, as `LeftCollar` or `Chest2`; empty where there is none.
std::string biovisionName(const JointRole& role);

} // namespace formats
