// SPDX-License-Identifier: MIT
// The record of one bone that IKSolver::setBones takes.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace Sinew {

#pragma pack(push, 1)

/// Packed with no padding, so that an array has a stride of 105 bytes on a 64-bit machine. All strings are
/// copied.
struct BoneDescriptor {
    const char* name = nullptr; ///< unique name
    const char* parent_name = nullptr; ///< null or empty: this bone is the root
    void* user_data = nullptr; ///< kept in the bone for the caller
    std::uint32_t projection_axis = 2; ///< local axis (0, 1, 2) whose direction the box limits restrict
    std::uint32_t rotation_axis = 2; ///< roll axis: 0, 1, 2, or 3 for `free_axis`
    std::uint8_t enforce_limits = 0; ///< a violated box pulls to its own edge rather than to the rest pose
    float rest_translation[3] = {0, 0, 0}; ///< origin in the parent's frame
    float rest_orientation[4] = {1, 0, 0, 0}; ///< w, x, y, z, relative to the parent
    float free_axis[3] = {0, 0, 0}; ///< roll axis in the bone's frame, read when `rotation_axis` is 3
    /// Minimum and maximum: direction cosines of the projection axis on x, y and z of the parent, then roll
    /// in degrees.
    float limits[4][2] = {{-1, 1}, {-1, 1}, {-1, 1}, {-180, 180}};
};

#pragma pack(pop)

static_assert(sizeof(void*) != 8 || sizeof(BoneDescriptor) == 105);

} // namespace Sinew

#pragma GCC visibility pop
