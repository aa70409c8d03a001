// SPDX-License-Identifier: MIT
// What the rig's node keeps of one bone: its channels in the evaluation, and its matrices.
#pragma once

#include "host/CZxEvaluation.h"

#include <string>

/// Indices are those of the node's evaluation; arrays over axes run X, Y, Z.
struct BoneRecord {
    CZxUser_Item item;
    std::string name; ///< unique name when the node was made
    std::string parentName; ///< of the bone that it hangs on; empty for none

    uint32_t localMatrix = 0, wposMatrix = 0, wrotMatrix = 0, wsclMatrix = 0;
    uint32_t rotationEnable[3] = {}, positionEnable[3] = {};
    uint32_t rotationWeight[3] = {}, positionWeight[3] = {};
    uint32_t limits[3] = {}, limitMin[3] = {}, limitMax[3] = {};
    uint32_t stretchLimits[3] = {}, stretchMin[3] = {}, stretchMax[3] = {};
    uint32_t active = 0, enableLimits = 0, enforceLimits = 0, retargeting = 0, maxVelocity = 0,
             limitsAxis = 0;
    uint32_t targetOffset[9] = {}; ///< `ikjTargetOffsetX.X` to `ikjTargetOffsetZ.Z`

    Sinew::Matrix4d local; ///< `localMatrix` of this evaluation
    Sinew::Matrix4d fkWorld; ///< animated pose in world space
    Sinew::Matrix4d ikWorld; ///< solved pose in world space
    Sinew::Matrix4d outWorld; ///< the two blended
};
