// SPDX-License-Identifier: MIT
// `ikfb.task`.
#include "commands/CMarionetTaskCommand.h"

#include "rig/RigQueries.h"

#include <string>

namespace {

constexpr const char* kTable = "ikfb.task";
constexpr const char* kPositionTask = "ik.positionTask";
constexpr const char* kOrientationTask = "ik.orientationTask";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional},
                                      {"type", "integer", kZxArgumentOptional},
                                      {"mode", "integer", kZxArgumentOptional},
                                      {"scale", "float", kZxArgumentOptional}};

/// What one execution works with.
struct TaskChange {
    RigTypes types;
    CZxUser_ItemGraph ikTasks;
    CZxUser_ChannelRead read;
    CZxUser_ChannelWrite write;
    double scale = 1;

    /// Takes one task from the joint; the link goes with the last one.
    void remove(const CZxUser_Item& solver, const CZxUser_Item& joint, const char* package,
                const char* other) const
    {
        if (!joint.hasPackage(package))
            return;
        joint.removePackage(package);
        if (!joint.hasPackage(other))
            DeleteLink(ikTasks, solver, joint);
    }
    /// Keys at the current time. A channel that every item has can't be meant.
    void key(const CZxUser_Item& joint, const char* name, const double* xyz) const
    {
        for (uint32_t a = 0; a < 3; ++a)
            if (const int32_t channel = joint.channel((std::string(name) + '.' + "XYZ"[a]).c_str());
                channel > 0)
                write.createKey(joint, channel, xyz[a]);
    }
    void addPosition(const CZxUser_Item& solver, const CZxUser_Item& joint, const WorldTransform& world) const
    {
        if (joint.hasPackage(kPositionTask))
            return;
        joint.addPackage(kPositionTask);
        AddLink(ikTasks, solver, joint);
        key(joint, "ikptPos", world.position);
        if (const int32_t channel = joint.channel("ikptScale"); scale != 1.0 && channel > 0)
            write.number(joint, channel, scale);
    }
    void addOrientation(const CZxUser_Item& solver, const CZxUser_Item& joint,
                        const WorldTransform& world) const
    {
        if (joint.hasPackage(kOrientationTask))
            return;
        joint.addPackage(kOrientationTask);
        AddLink(ikTasks, solver, joint);
        double angles[3];
        MatrixToEuler(world.rotation, 0, angles);
        key(joint, "ikotRot", angles);
    }
};

} // namespace

CMarionetTaskCommand::CMarionetTaskCommand()
    : CRigJointCommand({.table = kTable,
                        .arguments = kArguments,
                        .events = RetestOn::SelectionChange,
                        .needsSetupMode = false}) // tasks may change while the user animates
{
}

zxresult CMarionetTaskCommand::icon(const char** name)
{
    const bool isPosition = integer(1) == 0;
    if (integer(2) == 0)
        *name = isPosition ? "ikfb.taskPosRem" : "ikfb.taskRotRem";
    else
        *name = isPosition ? "ikfb.taskPosAdd" : "ikfb.taskRotAdd";
    return kZxOk;
}

zxresult CMarionetTaskCommand::testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                                           const RigTypes&) const
{
    if (!IsInRig(sceneOf(item).itemGraph("ikRefs"), item))
        return refuse(message, 1001);
    const bool isPosition = integer(1) == 0;
    const int32_t mode = integer(2);
    if (item.hasPackage(isPosition ? kPositionTask : kOrientationTask))
        return mode == 1 ? refuse(message, isPosition ? 1003 : 1005) : kZxTrue;
    return mode == 0 ? refuse(message, isPosition ? 1004 : 1006) : kZxTrue;
}

zxresult CMarionetTaskCommand::execute(uint32_t)
{
    const double time = CurrentTime();
    TaskChange change;
    const std::vector<CZxUser_Item> items =
        CollectCommandItems([&](const CZxUser_Item& item) { return change.types.isLocator(item); });
    if (items.empty())
        return kZxOk;
    const int32_t type = integer(1), mode = integer(2);
    if (const double scale = isSet(3) ? number(3) : 1; scale > 0)
        change.scale = scale;
    const CZxUser_Scene scene = sceneOf(items.front());
    change.read = scene.channelRead(nullptr, time);
    change.write = scene.channelWrite("edit", time);
    change.ikTasks = scene.itemGraph("ikTasks");
    const CZxUser_ItemGraph ikRefs = scene.itemGraph("ikRefs");
    for (const CZxUser_Item& item : items) {
        if (change.types.isSolver(item))
            continue;
        const CZxUser_Item solver = FindSolverForItem(item, change.types.solver);
        WorldTransform world{};
        if (!solver || !IsInRig(ikRefs, item) || !ReadWorldTransform(change.read, item, world))
            continue;
        if (type == 0 && mode == 0)
            change.remove(solver, item, kPositionTask, kOrientationTask);
        else if (type == 0)
            change.addPosition(solver, item, world);
        else if (type == 1 && mode == 0)
            change.remove(solver, item, kOrientationTask, kPositionTask);
        else if (type == 1)
            change.addOrientation(solver, item, world);
    }
    return kZxOk;
}
