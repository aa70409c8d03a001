// SPDX-License-Identifier: MIT
// `ikfb.goal`.
#include "commands/CMarionetGoalCommand.h"

#include "host/CZxEvaluation.h"
#include "host/CZxLocator.h"
#include "rig/RigQueries.h"

#include <cmath>
#include <string>

namespace {

constexpr const char* kTable = "ikfb.goal";
constexpr ArgumentRow kArguments[] = {{"item", "&item", kZxArgumentOptional}};

/// What one execution works with.
struct GoalMaker {
    RigTypes types;
    double time = CurrentTime();
    CZxUser_ChannelGraph chanLinks;

    CZxUser_Item CreateGoalAt(const CZxUser_Item& joint) const;
    void link(const CZxUser_Item& joint, const char* package, const char* source, const char* target) const;
    void DecorateGoal(const CZxUser_Item& joint, const CZxUser_Item& goal) const;
};

CZxUser_Item GoalMaker::CreateGoalAt(const CZxUser_Item& joint) const
{
    const CZxUser_Scene scene = sceneOf(joint);
    CZxUser_Item goal = scene.newItem(types.locator);
    goal.setName("Goal");
    const CZxUser_ChannelRead read = scene.channelRead(nullptr, time);
    const CZxUser_ChannelWrite write = scene.channelWrite("edit", time);
    WorldTransform world{};
    if (!ReadWorldTransform(read, joint, world))
        throw kZxFailure;
    const CZxUser_Locator locator(goal);
    check(locator.setWorldPosition(read, write, &world.position[0]));
    check(locator.setWorldRotation(read, write, &world.rotation[0][0]));
    return goal;
}

/// Feeds the task from the joint's goal, which is made if there is none yet.
void GoalMaker::link(const CZxUser_Item& joint, const char* package, const char* source,
                     const char* target) const
{
    if (!joint.hasPackage(package))
        return;
    CZxUser_Item goal = FindLinkedGoal(chanLinks, joint, types.locator);
    if (!goal)
        goal = CreateGoalAt(joint);
    const int32_t from = goal.channel(source), to = joint.channel(target);
    if (from >= 0 && to >= 0)
        chanLinks.addLink(goal, from, joint, to);
}

void GoalMaker::DecorateGoal(const CZxUser_Item& joint, const CZxUser_Item& goal) const
{
    const CZxUser_Scene scene = sceneOf(joint);
    const CZxUser_ChannelRead read = scene.channelRead(nullptr, time);
    const CZxUser_ChannelWrite write = scene.channelWrite("edit", time);
    // The first missing channel ends the decoration; what is written stays.
    const auto has = [&](const char* name) { return goal.channel(name) >= 0; };
    const auto set = [&](const char* name, double value) { write.number(goal, goal.channel(name), value); };

    const int32_t localChannel = joint.channel("localMatrix");
    CZxUser_Matrix local;
    ZxObject* value = nullptr;
    if (localChannel < 0 || failed(read.call<&ZxChannelReadTable::value>(joint, localChannel, &value)))
        return;
    local.adopt(value);
    double bone[3];
    check(local.getOffset(bone));
    const double length = std::sqrt(bone[0] * bone[0] + bone[1] * bone[1] + bone[2] * bone[2]);
    const double size = length == 0 ? 0.25 : length / 10;
    if (!has("drawShape"))
        return;
    set("drawShape", 1);
    if (!has("isSize.X"))
        return;
    const double sizes[3] = {size, size, size};
    WriteVector(write, goal, "isSize", sizes);
    if (!has("isStyle"))
        return;
    set("isStyle", 1);
    const CZxUser_Command draw = SpawnCommand("item.draw");
    if (!draw)
        return;
    draw.setItem(2, goal);
    draw.setInteger(0, 1);
    draw.executeInside();
    if (!has("fillOptions"))
        return;
    set("fillOptions", 1);
    if (!has("fillColor.R"))
        return;
    WorldTransform world{};
    if (!ReadWorldTransform(read, goal, world))
        return;
    const double x = world.position[0];
    const double green[3] = {0.4, 1.0, 0.4}, red[3] = {1.0, 0.4, 0.4}, blue[3] = {0.4, 0.4, 1.0};
    const double* colour = x > size / 2 ? green : x < -size / 2 ? red : blue;
    const auto setColour = [&](const char* name, const double* rgb) {
        for (uint32_t c = 0; c < 3; ++c)
            set((std::string(name) + '.' + "RGB"[c]).c_str(), rgb[c]);
    };
    setColour("fillColor", colour);
    if (!has("wireOptions"))
        return;
    set("wireOptions", 1);
    const double black[3] = {0, 0, 0};
    if (has("wireColor.R"))
        setColour("wireColor", black);
}

/// Selects the item ahead of what else is selected.
void SelectInFront(const CZxUser_Item& item)
{
    const std::vector<CZxUser_Item> others = SelectedItems();
    if (!others.empty() && others.front().identifier() == item.identifier())
        return;
    ClearItemSelection();
    SelectItem(item);
    for (const CZxUser_Item& other : others)
        if (other.identifier() != item.identifier())
            SelectItem(other);
}

} // namespace

CMarionetGoalCommand::CMarionetGoalCommand()
    : CRigJointCommand({.table = kTable, .arguments = kArguments, .events = RetestOn::EditOrSelection})
{
}

zxresult CMarionetGoalCommand::testLocator(const CZxUser_Message& message, const CZxUser_Item& item,
                                           const RigTypes& types) const
{
    if (HasSolverChild(item, types.solver))
        return refuse(message, 1004);
    const CZxUser_Scene scene = sceneOf(item);
    if (!IsInRig(scene.itemGraph("ikRefs"), item))
        return refuse(message, 1001);
    if (FindLinkedGoal(scene.channelGraph("chanLinks"), item, types.locator))
        return refuse(message, 1003);
    return kZxTrue;
}

zxresult CMarionetGoalCommand::execute(uint32_t flags)
{
    GoalMaker maker;
    const std::vector<CZxUser_Item> items =
        CollectCommandItems([&](const CZxUser_Item& item) { return maker.types.isLocator(item); });
    if (items.empty())
        return kZxOk;
    const CZxUser_Scene scene = sceneOf(items.front());
    maker.chanLinks = scene.channelGraph("chanLinks");
    const CZxUser_ItemGraph ikRefs = scene.itemGraph("ikRefs");
    for (const CZxUser_Item& item : items) {
        if (!IsInRig(ikRefs, item))
            continue;
        if (!item.hasPackage("ik.positionTask") && !item.hasPackage("ik.orientationTask")) {
            // Without an item argument the task command works on everything that is still selected, and
            // tests what is selected first.
            SelectInFront(item);
            ExecuteText("ikfb.task type:0 mode:1", flags);
            ExecuteText("ikfb.task type:1 mode:1", flags);
            ClearItemSelection();
        }
        maker.link(item, "ik.positionTask", "wposMatrix", "ikptMatrix");
        maker.link(item, "ik.orientationTask", "wrotMatrix", "ikotMatrix");
        if (const CZxUser_Item goal = FindLinkedGoal(maker.chanLinks, item, maker.types.locator))
            maker.DecorateGoal(item, goal);
    }
    return kZxOk;
}
