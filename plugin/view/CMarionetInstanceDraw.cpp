// SPDX-License-Identifier: MIT
// The solver item's marker, and the chains of its rig.
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "rig/RigInstances.h"
#include "rig/RigMath.h"
#include "rig/RigQueries.h"
#include "view/DrawingParts.h"

using Sinew::Matrix4d;

namespace {

constexpr Colour kChainColour = {{1.0f, 1.0f, 0.0f}};
constexpr float kChainAlpha = 0.7f;
constexpr float kChainWidth = 3.0f;
constexpr float kJointSize = 6.0f;
/// Marker radius as a part of the distance from the root to its first child.
constexpr double kMarkerFraction = 12.0;

/// Values of `iksDrawChains`.
enum : int32_t { kChainsOff = 0, kChainsWhenSelected = 2 };

/// The chains of one rig, in world positions.
struct ChainDrawing {
    const ItemDrawing& to;
    CZxUser_ItemGraph ikRefs;
    uint64_t solver;

    /// Draws the segment that ends in `item`. False where the drawing stops, with all below.
    bool segment(const CZxUser_Item& parent, const CZxUser_Item& item) const
    {
        if (!parent || item.identifier() == solver)
            return true;
        uint32_t links = 0;
        if (failed(ikRefs.call<&ZxItemGraphTable::reverseCount>(item, &links)) || links == 0)
            return false;
        double from[3], end[3];
        if (!ReadMatrix(to.read, parent, "wposMatrix", nullptr, from)
            || !ReadMatrix(to.read, item, "wposMatrix", nullptr, end))
            return false;
        if (parent.identifier() == solver || !IsOn(to.read, parent, "ikjActive"))
            to.strokes.beginDashed(kZxStrokeLines, kChainColour, kChainAlpha, kChainWidth, kRigDashes);
        else
            to.strokes.begin(kZxStrokeLines, kChainColour, kChainAlpha, kChainWidth);
        to.strokes.vertex(end);
        to.strokes.vertex(from);
        to.strokes.beginPoints(kJointSize, kChainColour, kChainAlpha);
        to.strokes.vertex(end);
        return true;
    }
};

bool ShowsChains(const CZxUser_ChannelRead& read, const CZxUser_Item& solver)
{
    int32_t mode = kChainsOff;
    if (!ReadInteger(read, solver, "iksDrawChains", &mode) || mode == kChainsOff)
        return false;
    return mode != kChainsWhenSelected || IsSelected(solver);
}

void DrawSolver(const ItemDrawing& to, const CZxUser_Item& solver, const float* rgb)
{
    const CZxUser_ItemGraph ikRefs = sceneOf(solver).itemGraph("ikRefs");
    const CZxUser_Item root = solver.parent();
    const CZxUser_Item first = root.child(0);
    double from[3], end[3];
    if (!ikRefs || !first || !ReadMatrix(to.read, root, "wposMatrix", nullptr, from)
        || !ReadMatrix(to.read, first, "wposMatrix", nullptr, end))
        return;
    const double distance = Distance(from, end);
    if (distance == 0)
        return;
    const Colour colour = {{rgb[0], rgb[1], rgb[2]}};
    for (uint32_t axis = 0; axis < 3; ++axis)
        to.shapes.circle(colour, 1.0f, kLocalOrigin, distance / kMarkerFraction, axis);

    Matrix4d toRoot;
    if (!ShowsChains(to.read, solver) || !ReadMatrix(to.read, root, "worldMatrix", toRoot)
        || !InvertTransform(toRoot))
        return;
    to.strokes.setPart(kRigPart);
    double nine[9];
    toRoot.get3x3(nine);
    to.strokes.pushTransform(toRoot[3], nine); // so that world positions can be drawn as they are
    const ChainDrawing chains{to, ikRefs, solver.identifier()};
    try {
        if (chains.segment(root.parent(), root))
            ForEachBelow(root, [&](const CZxUser_Item& parent, const CZxUser_Item& item) {
                return chains.segment(parent, item);
            });
    } catch (zxresult) {
        // What is drawn stays; the transform must go in any case.
    }
    to.strokes.popTransform();
}

} // namespace

zxresult CMarionetInstance::draw(ZxObject* read, ZxObject* draw, const float* colour)
{
    try {
        DrawSolver(ItemDrawing(read, draw), m_Item, colour);
    } catch (zxresult) {
        // Whatever can't be found ends a drawing in silence.
    }
    return kZxOk;
}
