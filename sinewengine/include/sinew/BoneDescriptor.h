// SPDX-License-Identifier: MIT
// The record of one bone that IKSolver::setBones takes.
#pragma once

#include <cstdint>

#pragma GCC visibility push(default)

namespace Sinew {

#pragma pack(push, 1)

/// One bone for `IKSolver::setBones`. Packed with no padding, so that an array has a stride of 105 bytes on a
/// 64-bit machine. All strings are copied.
struct BoneDescriptor {
    /// Unique name; a second bone of the same name fails an assertion and isn't found by name. A bone without
    /// name (null or empty) can have no task and no child here.
    const char* name = nullptr;
    /// Name of any bone of the array, before or behind this one. Null, empty or unknown: no parent. Of
    /// several bones without parent the last is the root, from which frames are computed.
    const char* parent_name = nullptr;
    void* user_data = nullptr; ///< kept in the bone for the caller
    /// Local axis, 0 to 2, whose direction the box limits restrict; above 2 fails an assertion and counts
    /// as 2.
    std::uint32_t projection_axis = 2;
    /// Roll axis: 0, 1, 2, or 3 for `free_axis`; above 3 counts as 2.
    std::uint32_t rotation_axis = 2;
    /// Other than 0: a violated box pulls to its own edge rather than to the rest pose.
    std::uint8_t enforce_limits = 0;
    float rest_translation[3] = {0, 0, 0}; ///< origin in the parent's frame, in the caller's unit of length
    float rest_orientation[4] = {1, 0, 0, 0}; ///< w, x, y, z, relative to the parent; of any length but 0
    /// Roll axis in the bone's frame, of any length, read when `rotation_axis` is 3.
    float free_axis[3] = {0, 0, 0};
    /// Minimum and maximum: components x, y and z, -1 to 1, of the direction of the projection axis in the
    /// parent's frame, then roll in degrees from rest. The full ranges are no limits; see
    /// `IKSegment::setLimit`.
    float limits[4][2] = {{-1, 1}, {-1, 1}, {-1, 1}, {-180, 180}};
};

#pragma pack(pop)

static_assert(sizeof(void*) != 8 || sizeof(BoneDescriptor) == 105);

} // namespace Sinew

#pragma GCC visibility pop
