// SPDX-License-Identifier: MIT
// What the rig commands share.
#include "commands/RigCommand.h"

#include "rig/RigQueries.h"

namespace {

struct Notifier {
    const char* name;
    const char* argument;
};
constexpr Notifier kSelectionChange[] = {{"select.event", "item +v"}, {"select.event", "item exist+d"}};
constexpr Notifier kEditOrSelection[] = {{"action.event", "edit +d"}, {"select.event", "item exist+d"}};

} // namespace

void StripJoint(const CZxUser_Item& item)
{
    for (const char* package : {"ik.package", "ik.joint", "ik.positionTask", "ik.orientationTask"})
        item.removePackage(package);
}

void RemoveJointBranch(const RigTypes& types, const CZxUser_ItemGraph& ikRefs, const CZxUser_Item& top)
{
    const auto remove = [&](const CZxUser_Item& item) {
        if (!types.canBeJoint(item) || !IsInRig(ikRefs, item))
            return false;
        if (const CZxUser_Item parent = item.parent())
            DeleteLink(ikRefs, parent, item);
        StripJoint(item);
        return true;
    };
    if (remove(top))
        ForEachBelow(top, [&](const CZxUser_Item&, const CZxUser_Item& child) { return remove(child); });
}

zxresult CRigCommand::flags(uint32_t* flags)
{
    *flags = kZxCommandChangesScene | kZxCommandUndo;
    return kZxOk;
}

zxresult CRigCommand::notifier(uint32_t index, const char** name, const char** argument)
{
    if (index >= 2)
        return kZxOutOfRange;
    const Notifier& notifier =
        (m_Facts.events == RetestOn::SelectionChange ? kSelectionChange : kEditOrSelection)[index];
    *name = notifier.name;
    *argument = notifier.argument;
    return kZxOk;
}

zxresult CRigCommand::enable(ZxObject* messageObject)
{
    CZxUser_Message message;
    message.query(messageObject, kZxIdMessage);
    if (m_Facts.needsSetupMode) {
        CZxUser_Scene scene;
        if (!CurrentScene(scene))
            return kZxFalse;
        if (!scene.isSetupMode())
            return message.refuse("ikfb.general", 1003);
    }
    return test(message);
}

zxresult CRigCommand::testItem(const CZxUser_Message& message, CZxUser_Item& item) const
{
    if (isSet(0)) {
        item = this->item(0);
        return item ? kZxTrue : message.refuse("ikfb.general", 1002);
    }
    item = FirstSelectedItem();
    return item ? kZxTrue : message.refuse("ikfb.general", 1001);
}

zxresult CRigJointCommand::test(const CZxUser_Message& message) const
{
    CZxUser_Item item;
    if (const zxresult found = testItem(message, item); found != kZxTrue)
        return found;
    const RigTypes types;
    if (!types.isLocator(item))
        return refuse(message, 1001);
    if (types.isSolver(item))
        return refuse(message, 1002);
    return testLocator(message, item, types);
}
