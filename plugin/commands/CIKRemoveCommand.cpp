// SPDX-License-Identifier: MIT
// `ikfb.remove`.
#include "commands/CIKRemoveCommand.h"

namespace {

constexpr const char* kTable = "ikfb.remove";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional}};

} // namespace

CIKRemoveCommand::CIKRemoveCommand()
    : CRigCommand({.table = kTable, .arguments = kArguments, .events = RetestOn::EditOrSelection})
{
}

zxresult CIKRemoveCommand::test(const CZxUser_Message& message) const
{
    const RigTypes types;
    const bool any =
        !CollectCommandItems([&](const CZxUser_Item& item) { return types.isSolver(item); }).empty();
    return any ? kZxTrue : refuse(message, 1001);
}

zxresult CIKRemoveCommand::execute(uint32_t)
{
    const RigTypes types;
    const std::vector<CZxUser_Item> solvers =
        CollectCommandItems([&](const CZxUser_Item& item) { return types.isSolver(item); });
    if (solvers.empty())
        return kZxOk;
    const CZxUser_Command chain = SpawnCommand("ikfb.chain"), remove = SpawnCommand("item.delete");
    if (!chain || !remove)
        return kZxOk;
    ClearItemSelection();
    for (const CZxUser_Item& solver : solvers) {
        const CZxUser_Item root = solver.parent();
        if (!root)
            continue;
        SelectItem(solver);
        remove.executeInside();
        // Only now: as long as the root has its solver item, it can't be taken out of the rig.
        chain.setItem(0, root);
        chain.executeInside();
    }
    return kZxOk;
}
