// SPDX-License-Identifier: MIT
// The angular limits of a selected joint.
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "rig/RigInstances.h"
#include "rig/RigMath.h"
#include "view/DrawingParts.h"

#include <numbers>
#include <string>

using Sinew::Matrix4d;

namespace {

constexpr float kLineWidth = 1.0f;
constexpr float kSectorAlpha = 0.15f;
constexpr float kArcAlpha = 0.5f;
/// Radius of a limit as a part of the distance to the child joint.
constexpr double kReach = 0.75;

/// How the limit of one axis looks.
struct LimitLook {
    Colour colour;
    uint32_t reference; ///< component that an angle of 0 points along
    double arcBase; ///< the same direction as an angle of the host's arcs
};
constexpr LimitLook kLooks[3] = {
    {{{0.9f, 0.2f, 0.2f}}, 2, std::numbers::pi / 2},
    {{{0.2f, 0.8f, 0.2f}}, 2, 0},
    {{{0.2f, 0.4f, 1.0f}}, 1, std::numbers::pi / 2},
};

void DrawLine(const ItemDrawing& to, const double* end)
{
    to.strokes.vertex(kLocalOrigin);
    to.strokes.vertex(end);
}

/// From the origin to the reference direction turned by `angle` about the axis.
void DrawEdge(const ItemDrawing& to, uint32_t axis, double radius, double angle)
{
    const Matrix4d rotation = HostRotation(angle, axis); // a host 3x3, for column vectors
    double end[3];
    for (uint32_t r = 0; r < 3; ++r)
        end[r] = rotation[r][kLooks[axis].reference] * radius;
    to.strokes.begin(kZxStrokeLines, kLooks[axis].colour, 1.0f, kLineWidth);
    DrawLine(to, end);
}

void DrawLimit(const ItemDrawing& to, uint32_t axis, double radius, double low, double high)
{
    const LimitLook& look = kLooks[axis];
    double reference[3] = {0, 0, 0};
    reference[look.reference] = radius;
    to.strokes.beginDashed(kZxStrokeLines, look.colour, 1.0f, kLineWidth, kRigDashes);
    DrawLine(to, reference);
    DrawEdge(to, axis, radius, low);
    DrawEdge(to, axis, radius, high);
    const double start = look.arcBase + low, end = look.arcBase + high;
    to.shapes.arc(look.colour, kSectorAlpha, kLocalOrigin, radius, start, end, axis, kZxArcFilled);
    to.shapes.arc(look.colour, kArcAlpha, kLocalOrigin, radius, start, end, axis, 0);
}

/// Distance to the first child that is a joint; 0 without one.
double DistanceToChildJoint(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const double* place)
{
    const uint32_t locator = TypeCode("locator");
    for (uint32_t i = 0, count = item.childCount(); i < count; ++i) {
        const CZxUser_Item child = item.child(i);
        if (!child.isType(locator) || !child.hasPackage("ik.joint"))
            continue;
        double there[3];
        if (!ReadMatrix(read, child, "worldMatrix", nullptr, there))
            return 0;
        return Distance(place, there);
    }
    return 0;
}

void DrawLimits(const ItemDrawing& to, const CZxUser_Item& item)
{
    if (!IsOn(to.read, item, "ikjEnableLimits") || !IsSelected(item))
        return;
    // A joint whose parent or rest pose can't be read shows no limits, though the figure below is drawn in
    // the joint's own frame.
    Matrix4d world, above;
    double rest[3];
    if (const CZxUser_Item parent = item.parent();
        parent && !ReadMatrix(to.read, parent, "worldMatrix", above))
        return;
    if (!ReadMatrix(to.read, item, "worldMatrix", world) || !ReadVector(to.read, item, "ikRestXAxis", rest)
        || !ReadVector(to.read, item, "ikRestYAxis", rest) || !ReadVector(to.read, item, "ikRestZAxis", rest))
        return;
    const double radius = kReach * DistanceToChildJoint(to.read, item, world[3]);
    if (radius == 0)
        return;
    to.strokes.setPart(kRigPart);
    for (uint32_t axis = 0; axis < 3; ++axis) {
        const std::string limit = std::string("ikAxis") + "XYZ"[axis];
        int32_t isLimited = 0;
        double angle, low, high;
        if (!ReadInteger(to.read, item, (limit + "Limits").c_str(), &isLimited))
            return;
        if (isLimited == 0)
            continue;
        if (!ReadNumber(to.read, item, (std::string("ikRestRot.") + "XYZ"[axis]).c_str(), &angle)
            || !ReadNumber(to.read, item, (limit + "Min").c_str(), &low)
            || !ReadNumber(to.read, item, (limit + "Max").c_str(), &high))
            return;
        DrawLimit(to, axis, radius, low, high);
    }
}

} // namespace

zxresult CIKInstance::draw(ZxObject* read, ZxObject* draw, const float*)
{
    try {
        DrawLimits(ItemDrawing(read, draw), m_Item);
    } catch (zxresult) {
        // Whatever can't be found ends a drawing in silence.
    }
    return kZxOk;
}
