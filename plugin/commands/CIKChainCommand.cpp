// SPDX-License-Identifier: MIT
// `ikfb.chain`.
#include "commands/CIKChainCommand.h"

#include "rig/RigQueries.h"

namespace {

constexpr const char* kTable = "ikfb.chain";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional},
                                      {"mode", "integer", kZxArgumentOptional}};

/// What one execution works with.
struct ChainChange {
    RigTypes types;
    CZxUser_ItemGraph ikRefs;
    CZxUser_ChannelRead read;
    CZxUser_ChannelWrite write;

    /// False when the item can't be taken in; then nothing below it is.
    bool add(const CZxUser_Item& item) const
    {
        if (!types.canBeJoint(item) || IsInRig(ikRefs, item))
            return false;
        const CZxUser_Item parent = item.parent();
        if (!parent || !IsInRig(ikRefs, parent))
            return false;
        AddLink(ikRefs, parent, item);
        CaptureRestPose(read, write, item, true);
        return true;
    }
};

} // namespace

CIKChainCommand::CIKChainCommand()
    : CRigJointCommand({.table = kTable, .arguments = kArguments, .events = RetestOn::SelectionChange})
{
}

zxresult CIKChainCommand::icon(const char** name)
{
    *name = integer(1) == 0 ? "ikfb.chainRem" : "ikfb.chainAdd";
    return kZxOk;
}

zxresult CIKChainCommand::testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                                      const RigTypes& types) const
{
    const CZxUser_ItemGraph ikRefs = sceneOf(item).itemGraph("ikRefs");
    const CZxUser_Item parent = item.parent();
    if (integer(1) == 0) {
        if (!IsInRig(ikRefs, item))
            return refuse(message, 1006);
        if (HasSolverChild(item, types.solver))
            return refuse(message, 1007);
        if (parent && HasSolverChild(parent, types.solver))
            return refuse(message, 1008);
        return kZxTrue;
    }
    if (IsInRig(ikRefs, item))
        return refuse(message, 1003);
    if (!parent || !IsInRig(ikRefs, parent))
        return refuse(message, 1005);
    return kZxTrue;
}

zxresult CIKChainCommand::execute(uint32_t)
{
    ChainChange change;
    const std::vector<CZxUser_Item> items =
        CollectCommandItems([&](const CZxUser_Item& item) { return change.types.isLocator(item); });
    if (items.empty())
        return kZxOk;
    const bool removes = integer(1) == 0;
    const CZxUser_Scene scene = sceneOf(items.front());
    change.ikRefs = scene.itemGraph("ikRefs");
    change.read = scene.channelRead(nullptr, 0);
    change.write = scene.channelWrite("setup", 0);
    for (const CZxUser_Item& item : items) {
        if (removes)
            RemoveJointBranch(change.types, change.ikRefs, item);
        else if (change.add(item))
            ForEachBelow(item,
                         [&](const CZxUser_Item&, const CZxUser_Item& child) { return change.add(child); });
    }
    return kZxOk;
}
