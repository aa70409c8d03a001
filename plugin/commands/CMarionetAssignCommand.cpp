// SPDX-License-Identifier: MIT
// `ikfb.assign`.
#include "commands/CMarionetAssignCommand.h"

#include "rig/RigQueries.h"

#include <cstring>

namespace {

constexpr const char* kTable = "ikfb.assign";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional | kZxArgumentHidden},
                                      {"transRoot", "boolean", kZxArgumentOptional}};

/// What one execution works with.
struct Assignment {
    RigTypes types;
    CZxUser_Item root;
    uint64_t rootIdentifier = 0;
    CZxUser_ItemGraph ikRefs;
    CZxUser_ChannelRead read;
    CZxUser_ChannelWrite write;

    bool isRoot(const CZxUser_Item& item) const { return item.identifier() == rootIdentifier; }
    void capture(const CZxUser_Item& item) const { CaptureRestPose(read, write, item, true); }

    CZxUser_Item makeSolver(const CZxUser_Scene& scene, bool transRoot) const;
    bool IsDescendantThroughLocators(const CZxUser_Item& item) const;
    void LinkAllDescendants() const;
    void LinkChainToRoot(const CZxUser_Item& end) const;
    CZxUser_Item startOfChain(const CZxUser_Item& end) const;
};

CZxUser_Item Assignment::makeSolver(const CZxUser_Scene& scene, bool transRoot) const
{
    CZxUser_Item solver = scene.newItem(types.solver);
    solver.setName("FullBodyIK");
    CZxUser_StringTag(solver).set(TagCode("PRNT"), "denied");
    const CZxUser_StringTag sceneTags(scene);
    if (const char* enabled = sceneTags.get(TagCode("IKEN"));
        enabled && std::strcmp(enabled, "disabled") == 0)
        write.integer(solver, solver.channel("iksEnabled"), 0);
    if (transRoot)
        write.integer(solver, solver.channel("iksTransRoot"), 1);
    solver.setParent(root);
    return solver;
}

bool Assignment::IsDescendantThroughLocators(const CZxUser_Item& item) const
{
    for (CZxUser_Item parent = item.parent(); parent && parent.hasPackage("locator");
         parent = parent.parent())
        if (isRoot(parent))
            return true;
    return false;
}

void Assignment::LinkAllDescendants() const
{
    ForEachBelow(root, [&](const CZxUser_Item& parent, const CZxUser_Item& child) {
        // The root of another rig ends the walk there, with all that hangs below it.
        if (!child.hasPackage("locator") || types.isSolver(child) || HasSolverChild(child, types.solver))
            return false;
        AddLink(ikRefs, parent, child);
        capture(child);
        return true;
    });
}

/// Where the linking of a chain starts: at its end, or above the blocker that is nearest to the root. Empty
/// for nowhere.
CZxUser_Item Assignment::startOfChain(const CZxUser_Item& end) const
{
    CZxUser_Item blocker;
    CZxUser_Item current = end;
    while (CZxUser_Item parent = current.parent()) {
        if (!parent.hasPackage("locator"))
            blocker = parent;
        if (HasSolverChild(parent, types.solver)) {
            if (isRoot(parent))
                break;
            blocker = parent;
        }
        if (isRoot(current))
            break;
        current = parent;
    }
    return blocker ? blocker.parent() : end;
}

void Assignment::LinkChainToRoot(const CZxUser_Item& end) const
{
    CZxUser_Item current = startOfChain(end);
    if (!current)
        return;
    while (CZxUser_Item parent = current.parent()) {
        if (!parent.hasPackage("locator"))
            return;
        AddLink(ikRefs, parent, current);
        capture(current);
        if (isRoot(parent)) {
            capture(parent);
            return;
        }
        current = parent;
    }
    if (isRoot(current))
        capture(current);
}

} // namespace

CMarionetAssignCommand::CMarionetAssignCommand()
    : CRigJointCommand({.table = kTable, .arguments = kArguments, .events = RetestOn::EditOrSelection})
{
}

zxresult CMarionetAssignCommand::testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                                             const RigTypes& types) const
{
    if (IsInRig(sceneOf(item).itemGraph("ikRefs"), item))
        return refuse(message, 1003);
    const uint32_t childCount = item.childCount();
    if (childCount == 0)
        return refuse(message, 1004);
    uint32_t selectedCount = 0;
    bool hasUsableChild = false;
    for (uint32_t i = 0; i < childCount; ++i) {
        const CZxUser_Item child = item.child(i);
        selectedCount += IsSelected(child) ? 1 : 0;
        hasUsableChild = hasUsableChild || (types.isLocator(child) && !HasSolverChild(child, types.solver));
    }
    if (selectedCount == childCount)
        return refuse(message, 1005);
    return hasUsableChild ? kZxTrue : refuse(message, 1004);
}

zxresult CMarionetAssignCommand::execute(uint32_t)
{
    Assignment assignment;
    std::vector<CZxUser_Item> items =
        CollectCommandItems([&](const CZxUser_Item& item) { return assignment.types.isLocator(item); });
    if (items.empty())
        return kZxOk;
    const int32_t transRoot = isSet(1) ? integer(1) : 0;
    if (static_cast<uint32_t>(transRoot) > 1)
        return kZxOk;
    assignment.root = items.front();
    assignment.rootIdentifier = assignment.root.identifier();
    items.erase(items.begin());
    const CZxUser_Scene scene = sceneOf(assignment.root);
    assignment.read = scene.channelRead(nullptr, 0);
    assignment.write = scene.channelWrite("setup", 0);
    assignment.ikRefs = scene.itemGraph("ikRefs");
    assignment.makeSolver(scene, transRoot != 0);

    std::vector<CZxUser_Item> ends;
    for (const CZxUser_Item& item : items)
        if (assignment.IsDescendantThroughLocators(item))
            ends.push_back(item);
    if (ends.empty()) {
        assignment.capture(assignment.root);
        assignment.LinkAllDescendants();
    }
    for (const CZxUser_Item& end : ends)
        assignment.LinkChainToRoot(end);
    ClearItemSelection();
    for (const CZxUser_Item& end : ends)
        SelectItem(end);
    return kZxOk;
}
