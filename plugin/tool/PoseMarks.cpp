// SPDX-License-Identifier: MIT
// Locks and pins.
#include "tool/PoseMarks.h"

#include "host/CZxLocator.h"
#include "host/Services.h"
#include "rig/ChannelReads.h"
#include "rig/RigMath.h"
#include "rig/RigQueries.h"
#include "tool/PoseMath.h"

#include <cstring>
#include <string>

using Sinew::Matrix4d;

namespace {

constexpr uint32_t kLockTag = TagCode("PSTL");
constexpr const char* kLockMark = "ikLock";
constexpr const char* kPositionTask = "ik.positionTask";
constexpr const char* kOrientationTask = "ik.orientationTask";

/// The solver of the rig above the item, not looking at the item's own children; empty when there is none.
CZxUser_Item SolverAbove(const CZxUser_Item& item, uint32_t solverType)
{
    const CZxUser_Item parent = item.parent();
    return parent.hasPackage("locator") ? FindSolverForItem(parent, solverType) : CZxUser_Item();
}

/// The two switches of a pin.
struct PinSwitches {
    CZxUser_Item item;
    int32_t position = item.channel("ikptEnable");
    int32_t orientation = item.channel("ikotEnable");

    bool areThere() const { return position >= 0 && orientation >= 0; }
    void key(const CZxUser_ChannelWrite& write, bool on) const
    {
        write.createKey(item, position, on ? 1 : 0);
        write.createKey(item, orientation, on ? 1 : 0);
    }
};

/// Gives the joint its two tasks, switched off by keys at time 0 and in the setup. False when it can't have
/// them.
bool AddPinTasks(const CZxUser_Scene& scene, const CZxUser_ItemGraph& ikTasks, const CZxUser_Item& item,
                 uint32_t solverType)
{
    const CZxUser_Item solver = SolverAbove(item, solverType);
    if (!solver || !ikTasks)
        return false;
    item.addPackage(kPositionTask);
    item.addPackage(kOrientationTask);
    AddLink(ikTasks, solver, item);
    const CZxUser_ChannelWrite edit = scene.channelWrite("edit", 0), setup = scene.channelWrite("setup", 0);
    const PinSwitches switches{item};
    if (!switches.areThere())
        return false;
    switches.key(edit, false);
    setup.integer(item, switches.position, 0);
    setup.integer(item, switches.orientation, 0);
    constexpr double kZero[3] = {0, 0, 0};
    CreateVectorKeys(edit, item, "ikptOffset", kZero);
    CreateVectorKeys(edit, item, "ikotOffset", kZero);
    return true;
}

/// Keys of one joint at its place relative to what is above it; false where the walk ends.
bool BakeJoint(const CZxUser_ChannelRead& read, const CZxUser_ChannelWrite& write, const CZxUser_Item& item,
               const CZxUser_Item& parent)
{
    Matrix4d local;
    if (!ReadMatrix(read, item, "worldMatrix", local))
        return false;
    if (parent && HasChannel(parent, "worldMatrix")) {
        Matrix4d above;
        if (!ReadMatrix(read, parent, "worldMatrix", above) || !InvertTransform(above))
            return false;
        local.multiply(above);
    }
    const CZxUser_Locator locator(item);
    CZxUser_Item position, rotation;
    double xyz[3], nine[9], turned[3][3], current[3], angles[3];
    if (succeeded(locator.transformItem(TransformKind::Position, &position))
        && succeeded(locator.positionForChannels(read, local[3], xyz)))
        CreateVectorKeys(write, position, "pos", xyz);

    int32_t order = 0;
    if (failed(locator.transformItem(TransformKind::Rotation, &rotation))
        || !ReadInteger(read, rotation, "order", &order) || !ReadVector(read, rotation, "rot", current))
        return false;
    WithoutScale(local).get3x3(nine); // angles are those of the rotation alone
    if (succeeded(locator.rotationForChannels(read, nine, &turned[0][0]))) {
        MatrixToEuler(turned, static_cast<uint32_t>(order), angles);
        MatchEuler(current, angles, order);
        CreateVectorKeys(write, rotation, "rot", angles);
    }
    return true;
}

} // namespace

bool IsTaskEnabled(const CZxUser_ChannelRead& read, const CZxUser_Item& item)
{
    return item.hasPackage(kPositionTask) && IsOn(read, item, "ikptEnable");
}

bool IsLocked(const CZxUser_ChannelRead& read, const CZxUser_Item& item)
{
    if (IsTaskEnabled(read, item))
        return true;
    const char* mark = CZxUser_StringTag(item).get(kLockTag);
    return mark && std::strcmp(mark, kLockMark) == 0;
}

void SetLock(const CZxUser_ChannelRead& read, const CZxUser_Item& item, MarkChange change)
{
    if (IsTaskEnabled(read, item))
        return;
    const CZxUser_StringTag tags(item);
    const bool sets =
        change == MarkChange::Set || (change == MarkChange::Toggle && tags.get(kLockTag) == nullptr);
    if (sets || tags.get(kLockTag))
        tags.set(kLockTag, sets ? kLockMark : nullptr);
}

void SetPin(const CZxUser_Item& item, MarkChange change, const CZxUser_Item& toolItem, double time,
            uint32_t solverType)
{
    const CZxUser_Scene scene = sceneOf(item);
    const CZxUser_ItemGraph ikRefs = scene.itemGraph("ikRefs"), ikTasks = scene.itemGraph("ikTasks");
    if (!ikRefs || !IsInRig(ikRefs, item)) {
        SetLock(scene.channelRead(nullptr, CurrentTime()), item, change);
        return;
    }
    if (change != MarkChange::Clear && !item.hasPackage(kPositionTask)) {
        if (!AddPinTasks(scene, ikTasks, item, solverType))
            return;
        change = MarkChange::Set;
    }
    const CZxUser_ChannelRead read = scene.channelRead(nullptr, time);
    const CZxUser_ChannelWrite write = scene.channelWrite("edit", time);
    SetLock(read, item, MarkChange::Clear);

    WorldTransform world{};
    if (!ReadWorldTransform(read, item, world))
        return;
    double angles[3];
    MatrixToEuler(world.rotation, 0, angles);
    CreateVectorKeys(write, item, "ikptPos", world.position);
    CreateVectorKeys(write, item, "ikotRot", angles);
    const PinSwitches switches{item};
    if (!switches.areThere())
        return;
    if (change == MarkChange::Toggle)
        change = IsOn(read, item, "ikptEnable") ? MarkChange::Clear : MarkChange::Set;
    if (change == MarkChange::Clear) {
        // The pose from before the goal was keyed above, which by itself lets the solver find another one.
        BakeToRoot(read, item, toolItem);
        switches.key(write, false);
    } else {
        switches.key(write, true);
        BakeToRoot(scene.channelRead(nullptr, CurrentTime()), item, toolItem);
    }
}

void BakeToRoot(const CZxUser_ChannelRead& read, const CZxUser_Item& item, const CZxUser_Item& toolItem)
{
    const CZxUser_ChannelWrite write = sceneOf(item).channelWrite("edit", CurrentTime());
    const uint64_t last = toolItem ? toolItem.identifier() : 0;
    for (CZxUser_Item current = item; current;) {
        const CZxUser_Item parent = current.parent();
        if (!BakeJoint(read, write, current, parent) || (toolItem && current.identifier() == last))
            return;
        current = parent;
    }
}
