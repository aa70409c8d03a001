// SPDX-License-Identifier: MIT
// `ikfb.goalAssign`.
#include "commands/CMarionetAssignGoalCommand.h"

#include "rig/RigQueries.h"

namespace {

constexpr const char* kTable = "ikfb.goalAssign";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional},
                                      {"goal", "&item", kZxArgumentOptional},
                                      {"type", "integer", 0},
                                      {"comp", "integer", kZxArgumentOptional}};
constexpr int32_t kBoth = 0, kPosition = 1, kOrientation = 2;

/// Whether the joint has the task and something feeds it.
bool HasGoal(const CZxUser_ChannelGraph& chanLinks, const CZxUser_Item& joint, const char* package,
             const char* matrix)
{
    if (!joint.hasPackage(package))
        return false;
    const int32_t channel = joint.channel(matrix);
    return channel >= 0 && chanLinks.isFed(joint, channel);
}

} // namespace

CMarionetAssignGoalCommand::CMarionetAssignGoalCommand()
    : CRigCommand({.table = kTable, .arguments = kArguments, .events = RetestOn::EditOrSelection})
{
}

zxresult CMarionetAssignGoalCommand::icon(const char** name)
{
    constexpr const char* kIcons[] = {"ikfb.goalAssign", "ikfb.goalAssignPos", "ikfb.goalAssignRot"};
    const int32_t type = integer(2);
    if (type < 0 || type > 2)
        return kZxNotFound;
    *name = kIcons[type];
    return kZxOk;
}

int CMarionetAssignGoalCommand::ResolveGoalPair(int32_t type, const RigTypes& types, Pair& pair) const
{
    std::vector<CZxUser_Item> items;
    for (CZxUser_Item& item :
         isSet(0) && isSet(1) ? std::vector<CZxUser_Item>{this->item(0), this->item(1)} : SelectedItems())
        if (items.size() < 2 && item && types.isLocator(item))
            items.push_back(std::move(item));
    if (items.size() != 2)
        return -1;
    const CZxUser_Item &a = items[0], &b = items[1];
    const CZxUser_Scene scene = sceneOf(a);
    pair.chanLinks = scene.channelGraph("chanLinks");
    const CZxUser_ItemGraph ikRefs = scene.itemGraph("ikRefs");
    const bool aInRig = IsInRig(ikRefs, a), bInRig = IsInRig(ikRefs, b);
    if (!aInRig && !bInRig)
        return -3;
    bool aIsJoint = aInRig;
    if (aInRig && bInRig) {
        const bool aHasJointsBelow = ikRefs.forwardCount(a) != 0,
                   bHasJointsBelow = ikRefs.forwardCount(b) != 0;
        if (aHasJointsBelow == bHasJointsBelow)
            return aHasJointsBelow ? -2 : -3;
        aIsJoint = aHasJointsBelow;
    }
    pair.first = a;
    pair.joint = aIsJoint ? a : b;
    pair.goal = aIsJoint ? b : a;
    const bool hasPosition = HasGoal(pair.chanLinks, pair.joint, "ik.positionTask", "ikptMatrix");
    const bool hasOrientation = HasGoal(pair.chanLinks, pair.joint, "ik.orientationTask", "ikotMatrix");
    if (type == kBoth && (hasPosition || hasOrientation))
        return -4;
    if (type == kPosition && hasPosition)
        return -5;
    if (type == kOrientation && hasOrientation)
        return -6;
    return aIsJoint ? 0 : 1;
}

zxresult CMarionetAssignGoalCommand::test(const CZxUser_Message& message) const
{
    const RigTypes types;
    Pair pair;
    const int resolved = ResolveGoalPair(integer(2), types, pair);
    if (resolved < 0)
        return refuse(message, 1000 + static_cast<uint32_t>(-resolved));
    if (HasSolverChild(pair.first, types.solver))
        return refuse(message, 1007);
    return kZxTrue;
}

zxresult CMarionetAssignGoalCommand::execute(uint32_t)
{
    const int32_t type = integer(2);
    const bool keepsOffset = integer(3) != 0;
    Pair pair;
    if (ResolveGoalPair(type, RigTypes(), pair) < 0 || type < kBoth || type > kOrientation)
        return kZxOk;
    const auto& [first, joint, goal, chanLinks] = pair;
    const CZxUser_Scene scene = sceneOf(joint);
    const CZxUser_ChannelRead read = scene.channelRead(nullptr, 0);
    const CZxUser_ChannelWrite write = scene.channelWrite("setup", 0);
    if (type != kOrientation)
        joint.addPackage("ik.positionTask");
    if (type != kPosition)
        joint.addPackage("ik.orientationTask");
    if (type == kBoth && keepsOffset) {
        const Sinew::Matrix4d offset = RelativeTransform(read, joint, goal);
        if (joint.channel("ikptOffset.X") < 0)
            return kZxOk;
        WriteVector(write, joint, "ikptOffset", offset[3]);
        if (joint.channel("ikotOffset.X") < 0)
            return kZxOk;
        double angles[3];
        BlockToEuler(offset, 4, angles);
        WriteVector(write, joint, "ikotOffset", angles);
    }
    const auto link = [&](const char* source, const char* target) {
        const int32_t from = goal.channel(source), to = joint.channel(target);
        if (from < 0 || to < 0)
            return false;
        chanLinks.addLink(goal, from, joint, to);
        return true;
    };
    if (type != kOrientation && !link("wposMatrix", "ikptMatrix"))
        return kZxOk;
    if (type != kPosition)
        link("wrotMatrix", "ikotMatrix");
    return kZxOk;
}
