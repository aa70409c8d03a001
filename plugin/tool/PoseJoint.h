// SPDX-License-Identifier: MIT
// What the pose tool knows of one locator.
#pragma once

#include "host/CZxItem.h"

#include <sinew/Matrix4d.h>

struct PoseJoint {
    CZxUser_Item item;
    uint64_t identifier = 0; ///< the item's, asked once: it is what joints are found by
    int32_t parent = -1; ///< index of the record above; -1 for the first
    Sinew::Matrix4d worldPosition; ///< identity with the world position in the last row
    Sinew::Matrix4d worldRotation; ///< its rows are the joint's axes
    Sinew::Matrix4d localPosition; ///< identity with the local offset in the last row
    Sinew::Matrix4d localRotation; ///< in the same form
    Sinew::Matrix4d posed; ///< rotation without scale and offset, relative to the parent, that a solve gives
    double startPosition[3] = {0, 0, 0}; ///< `pos` and `rot` of the action "edit" when the drag began
    double startRotation[3] = {0, 0, 0};
    double previousRotation[3] = {0, 0, 0}; ///< radians, `rot` as last read or solved
    double boneLength = 0; ///< distance to the first child, or else to the parent
    uint32_t majorAxis = 0; ///< the axis along which the bone lies
    int32_t rotationOrder = 0;
    bool writesPosition = false; ///< `newPosition` waits to be written
    bool writesRotation = false; ///< `newRotation` waits to be written
    double newPosition[3] = {0, 0, 0}; ///< in the terms of the position channels
    double newRotation[3] = {0, 0, 0}; ///< radians
    bool axisEnable[3] = {true, true, true}; ///< rotation freedoms last given to the bone
};

/// What a drag does; the values are fixed.
enum class PoseDragKind : int32_t {
    MoveInPlane = 0, ///< in the plane that faces the viewer
    Rotate = 2, ///< about the joint's major axis
    MoveFreely = 3, ///< with the host's constraint
    MoveWithParent = 4, ///< as MoveInPlane, with the joint and its parent alone
    ToggleLock = 5, ///< a click
    TogglePin = 6 ///< a click
};

/// Whether the drag gives the joint a position.
constexpr bool IsMove(PoseDragKind kind)
{
    return kind == PoseDragKind::MoveInPlane || kind == PoseDragKind::MoveFreely
        || kind == PoseDragKind::MoveWithParent;
}
