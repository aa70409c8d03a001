// SPDX-License-Identifier: MIT
// What the rig's node keeps of a joint with tasks: its channels in the evaluation, and the solver's tasks.
#pragma once

#include "host/CZxItem.h"

#include <sinew/Matrix4d.h>

#include <string>

namespace Sinew {
class IKPositionTask;
class IKOrientationTask;
} // namespace Sinew

/// Indices are those of the node's evaluation; only those of the flagged kinds are filled.
struct TaskRecord {
    CZxUser_Item item;
    std::string name; ///< of the bone
    bool hasPosition = false, hasOrientation = false;
    Sinew::IKPositionTask* position = nullptr; ///< null also when the solver doesn't know the bone
    Sinew::IKOrientationTask* orientation = nullptr;

    uint32_t ikptEnable = 0, ikptMatrix = 0, ikptWeight = 0, ikptPrecision = 0, ikptLength = 0;
    uint32_t ikptOffset[3] = {}, ikptScale = 0;
    uint32_t ikotEnable = 0, ikotMatrix = 0, ikotWeight = 0, ikotPrecision = 0, ikotLength = 0;
    uint32_t ikotOffset[3] = {};

    uint32_t bone = 0; ///< the joint among the node's bones
    /// Where the last evaluation wanted the joint in the world, for the kinds that were on.
    Sinew::Matrix4d aim;
    bool aimsPosition = false, aimsOrientation = false;
};
