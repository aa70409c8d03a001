// SPDX-License-Identifier: MIT
// The pose tool's attributes by index.
#pragma once

#include "host/CZxDynamicAttributes.h"

enum PoseAttribute : uint32_t {
    kOffsetX, ///< drag result: a world position, or degrees in x
    kOffsetY,
    kOffsetZ,
    kMode,
    kPositionTaskWeight, ///< of the tasks that hold locked joints
    kPositionTaskPrecision,
    kRotationTaskWeight,
    kRotationTaskPrecision,
    kRootWeight, ///< how readily the root moves
};

inline constexpr ArgumentRow kPoseAttributes[] = {
    {"offsetX", "float", kZxArgumentOptional, 0.0},
    {"offsetY", "float", kZxArgumentOptional, 0.0},
    {"offsetZ", "float", kZxArgumentOptional, 0.0},
    {"mode", "integer", kZxArgumentOptional, 0},
    {"posTaskWeight", "float", kZxArgumentOptional, 1.0},
    {"posTaskPrecision", "float", kZxArgumentOptional, 2.0},
    {"rotTaskWeight", "float", kZxArgumentOptional, 1.0},
    {"rotTaskPrecision", "float", kZxArgumentOptional, 2.0},
    {"rootWeight", "float", kZxArgumentOptional, 1.0},
};
