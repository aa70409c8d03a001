// SPDX-License-Identifier: MIT
// How two figures at rest lie to each other: axes, size, and what turns a joint of one into its partner.
#pragma once

#include "retarget/JointMap.h"

#include <refhost/Transforms.h>

#include <array>
#include <optional>
#include <vector>

namespace app {

/// A joint at rest in the world.
struct RestJoint {
    refhost::Vector3 position{};
    refhost::Matrix33 rotation;
};

/// One figure at rest.
struct RestFigure {
    const FigureFile* file = nullptr;
    std::vector<RestJoint> joints; ///< by joint of the file
};

/// An arm of the source made as long as the target's, and its shoulder put where the target's is.
struct ArmFit {
    int upperArm = -1, lowerArm = -1; ///< source joints
    double scale = 1; ///< of everything below the shoulder, on top of that of the whole source
    double lowerScale = 1; ///< on top of that, of everything below the elbow
    refhost::Vector3 shoulder{}; ///< at rest from between the hip joints, target axes and size
};

/// The trunk of the source made as long as the target's.
struct TrunkFit {
    int first = -1; ///< source joint; -1 leaves the trunk as it is
    double scale = 1; ///< of everything above it, on top of that of the whole source
    refhost::Vector3 place{}; ///< where the first joint is to rest, as ArmFit::shoulder
    int chestPair = -1; ///< the last pair of the spine, in the map
    int firstTarget = -1; ///< the lowest spine joint of the target that is driven
    refhost::Vector3 chest{}; ///< where the target's chest is to lie, as ArmFit::shoulder
};

struct RetargetFit {
    // From the source's world to the target's: turn, then scale.
    refhost::Matrix33 turn;
    double scale = 1;
    /// For each pair the rotation in front of the source's orientation.
    std::vector<refhost::Matrix33> offsets;
    /// For each pair the shift of a position goal in the source joint's frame, target units.
    std::vector<refhost::Vector3> goalShifts;
    std::vector<ArmFit> arms;
    TrunkFit trunk;
    double legScale = 1, armScale = 1; ///< target to source
    double height = 1; ///< of the target, from the lowest to the highest joint
    std::vector<std::string> notes;
};

/// Lays the source over the target. Limbs, trunk, neck and head are taken to be in the same pose where their
/// bones point the same way; feet where they point the same way over the floor.
RetargetFit fitFigures(const RestFigure& source, const RestFigure& target, const JointMap& map);

} // namespace app
