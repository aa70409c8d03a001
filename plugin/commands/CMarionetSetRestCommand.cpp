// SPDX-License-Identifier: MIT
// `ikfb.setRest`.
#include "commands/CMarionetSetRestCommand.h"

#include "rig/RigQueries.h"

namespace {

constexpr const char* kTable = "ikfb.setRest";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional}};

} // namespace

CMarionetSetRestCommand::CMarionetSetRestCommand()
    : CRigCommand({.table = kTable, .arguments = kArguments, .events = RetestOn::SelectionChange})
{
}

zxresult CMarionetSetRestCommand::test(const CZxUser_Message& message) const
{
    CZxUser_Item item;
    if (const zxresult found = testItem(message, item); found != kZxTrue)
        return found;
    const RigTypes types;
    if (types.isLocator(item) && (IsInRig(sceneOf(item).itemGraph("ikRefs"), item) || types.isSolver(item)))
        return kZxTrue;
    return refuse(message, 1003);
}

zxresult CMarionetSetRestCommand::execute(uint32_t)
{
    const RigTypes types;
    const std::vector<CZxUser_Item> items = CollectCommandItems(
        [&](const CZxUser_Item& item) { return types.isLocator(item) || types.isSolver(item); });
    if (items.empty())
        return kZxOk;
    const CZxUser_Scene scene = sceneOf(items.front());
    const CZxUser_ChannelRead read = scene.channelRead(nullptr, 0);
    const CZxUser_ChannelWrite write = scene.channelWrite("setup", 0);
    const CZxUser_ItemGraph ikRefs = scene.itemGraph("ikRefs");
    const auto refreshBranch = [&](const CZxUser_Item& root) {
        CaptureRestPose(read, write, root, false);
        ForEachBelow(root, [&](const CZxUser_Item&, const CZxUser_Item& child) {
            if (!types.isLocator(child) || !IsInRig(ikRefs, child))
                return false;
            CaptureRestPose(read, write, child, false);
            return true;
        });
    };
    for (const CZxUser_Item& item : items) {
        if (types.isSolver(item)) {
            if (const CZxUser_Item root = item.parent())
                refreshBranch(root);
        } else if (IsInRig(ikRefs, item)) {
            CaptureRestPose(read, write, item, false);
        }
    }
    scene.resetModifier("ikfb"); // the solver is built with the rest pose, so it must be built anew
    return kZxOk;
}
