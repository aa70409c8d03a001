// SPDX-License-Identifier: MIT
// What the drawings of a rig share.
#pragma once

#include "host/CZxDraw.h"
#include "host/CZxScene.h"

/// Part of everything that a rig's items draw by strokes.
inline constexpr uint32_t kRigPart = 0x88CA6C00u;
/// Dash pattern of everything that is dashed.
inline constexpr uint32_t kRigDashes = 0xF0F0;
inline constexpr double kLocalOrigin[3] = {0, 0, 0};

/// What an item draws with. Throws when the host gives something else.
struct ItemDrawing {
    CZxUser_ChannelRead read;
    CZxUser_StrokeDraw strokes;
    CZxUser_ShapeDraw shapes;

    ItemDrawing(ZxObject* readObject, ZxObject* draw) : strokes(draw), shapes(draw)
    {
        check(read.query(readObject, kZxIdChannelRead));
        if (!strokes || !shapes)
            throw kZxFailure;
    }
};
