// SPDX-License-Identifier: MIT
// The channels of a rig as facts: names, types, defaults and hints.
#pragma once

#include <zx/ZxPackage.h>

#include <span>

/// One channel of a package. Angles in radians.
struct ChannelRow {
    const char* name;
    const char* type; ///< as AddChannel names them; "matrix4" is a storage
    double number = 0; ///< default for reading as a number
    int32_t integer = 0; ///< default for reading as an integer
    const ZxHint* hints = nullptr;
    bool vector = false; ///< three channels name.X, .Y, .Z with the default below
    double xyz[3] = {0, 0, 0};
    bool setupSwitch = false;
};

std::span<const ChannelRow> SolverChannels();
std::span<const ChannelRow> PackageChannels();
std::span<const ChannelRow> JointChannels();
std::span<const ChannelRow> PositionTaskChannels();
std::span<const ChannelRow> OrientationTaskChannels();
