// SPDX-License-Identifier: MIT
// What the rig commands share.
#include "commands/RigCommand.h"

namespace {

struct Notifier {
    const char* name;
    const char* argument;
};
constexpr Notifier kSelectionChange[] = {{"select.event", "item +v"}, {"select.event", "item exist+d"}};
constexpr Notifier kEditOrSelection[] = {{"action.event", "edit +d"}, {"select.event", "item exist+d"}};

} // namespace

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
        (m_Events == RetestOn::SelectionChange ? kSelectionChange : kEditOrSelection)[index];
    *name = notifier.name;
    *argument = notifier.argument;
    return kZxOk;
}

zxresult CRigCommand::testSceneInSetupMode(const CZxUser_Message& message)
{
    CZxUser_Scene scene;
    if (!CurrentScene(scene))
        return kZxFalse;
    return scene.isSetupMode() ? kZxTrue : message.refuse("ikfb.general", 1003);
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

CZxUser_Message MessageOf(ZxObject* object)
{
    CZxUser_Message message;
    message.query(object, kZxIdMessage);
    return message;
}
