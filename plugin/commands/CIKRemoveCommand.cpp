// SPDX-License-Identifier: MIT
// `ikfb.remove`.
#include "commands/CIKRemoveCommand.h"

#include "rig/RigQueries.h"

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
    const CZxUser_ItemGraph ikRefs = sceneOf(solvers.front()).itemGraph("ikRefs");
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
        if (HasSolverChild(root, types.solver))
            continue;
        const CZxUser_Item parent = root.parent();
        if (IsInRig(ikRefs, root) && !(parent && HasSolverChild(parent, types.solver))) {
            chain.setItem(0, root);
            chain.executeInside();
        } else if (types.canBeJoint(root)) {
            // The chain command would take it for a joint of the rig above, or for none.
            RemoveJointBranch(types, ikRefs, root);
            StripJoint(root);
        }
    }
    return kZxOk;
}
