// SPDX-License-Identifier: MIT
// Builds the rig of `track`: joints as an import leaves them, the rest by the plug-in's commands.
#include "track/TrackRig.h"

#include "track/PoseMatrices.h"

#include <refhost/Commands.h>
#include <refhost/Host.h>

#include <stdexcept>
#include <string>

namespace app {

namespace {

using refhost::Action;
using refhost::Item;
using refhost::Scene;

/// The host's refusal is a fault of this program: every name and number was checked before.
void expect(const refhost::Result& result)
{
    if (!result.ok())
        throw std::runtime_error("the rig could not be built: " + result.message);
}

Item* expectItem(const refhost::ResultOf<Item*>& result)
{
    expect(result.result());
    return result.value;
}

class Builder {
public:
    explicit Builder(Scene& scene) : m_Scene(scene) { }

    Item* create(const char* type, const std::string& name, Item* parent)
    {
        const refhost::ItemType* found = m_Scene.host().findType(type);
        if (!found)
            throw std::runtime_error(std::string("the rig could not be built: no item type ") + type);
        return expectItem(m_Scene.createItem(*found, name, {.parent = parent}));
    }
    /// Runs a command of the plug-in on the items, with whole numbers for the arguments behind them.
    void run(const char* name, std::initializer_list<const Item*> items,
             std::initializer_list<std::int32_t> numbers = {})
    {
        refhost::Commands& commands = refhost::Commands::of(m_Scene.host());
        const auto invocation = commands.spawn(name);
        expect(invocation.result());
        int index = 0;
        for (const Item* item : items)
            expect(invocation.value->arguments().setItem(index++, *item));
        for (const std::int32_t number : numbers)
            expect(invocation.value->arguments().setInteger(index++, number));
        if (const refhost::CommandResult done = commands.execute(*invocation.value); !done.ok())
            throw std::runtime_error("the rig could not be built: " + done.message);
    }
    void set(Item& item, const std::string& name, double value)
    {
        expect(m_Scene.writeNumber(channel(item, name), Action::Setup, 0, value, refhost::WriteMode::Plain));
    }
    void setVector(Item& item, const std::string& name, const std::array<double, 3>& value)
    {
        for (std::size_t a = 0; a < 3; ++a)
            set(item, name + '.' + "XYZ"[a], value[a]);
    }
    void place(Item& item, const std::array<double, 3>& position)
    {
        setVector(*expectItem(m_Scene.addTransformItem(item, refhost::TransformKind::Position)), "pos",
                  position);
    }

    /// Bones that rest without a turn get no transform item for one.
    void turn(Item& item, const std::array<double, 4>& rotation)
    {
        if (rotation != std::array<double, 4>{0, 0, 0, 1})
            setVector(*expectItem(m_Scene.addTransformItem(item, refhost::TransformKind::Rotation)), "rot",
                      goalAngles({{}, rotation}));
    }

private:
    static refhost::Channel& channel(Item& item, const std::string& name)
    {
        refhost::Channel* found = item.channel(name);
        if (!found)
            throw std::runtime_error("the rig could not be built: " + item.label() + " has no channel "
                                     + name);
        return *found;
    }

    Scene& m_Scene;
};

Item* solverBelow(const Item& root)
{
    for (Item* child : root.children())
        if (child->hasPackage("ikFullBody"))
            return child;
    throw std::runtime_error("the rig could not be built: the plug-in made no solver item");
}

} // namespace

TrackRig buildTrackRig(Scene& scene, const std::vector<TrackBone>& bones, const std::vector<TrackGoal>& goals,
                       const TrackSettings& settings, const std::array<double, 3>& rootStart)
{
    TrackRig rig;
    Builder build(scene);
    expect(scene.setSetupMode(true));
    for (const TrackBone& bone : bones) {
        Item* parent = bone.parent < 0 ? nullptr : rig.joints[static_cast<std::size_t>(bone.parent)];
        Item* joint = build.create("locator", bone.name, parent);
        build.place(*joint, parent ? bone.restTranslation : rootStart);
        build.turn(*joint, bone.restRotation);
        rig.joints.push_back(joint);
    }
    Item* const root = rig.joints.front();
    if (bones.size() == 1)
        build.create("locator", "End", root); // a rig needs a joint below its root
    build.run("ikfb.assign", {root}, {settings.translateRoot ? 1 : 0});
    rig.solver = solverBelow(*root);
    build.set(*rig.solver, "iksSteps", settings.steps);
    build.set(*rig.solver, "iksTolerance", settings.tolerance * 10000);
    build.set(*rig.solver, "iksPrecision", settings.precision);
    build.set(*rig.solver, "iksTaskPull", settings.pull);
    if (!settings.fromRest) {
        // While no joint retargets, every evaluation puts the bones back on the animated pose. One that
        // retargets with no gain moves nothing and keeps the solved pose from frame to frame.
        build.set(*rig.solver, "iksSolveContinuous", 1);
        build.set(*rig.solver, "iksRetargetGain", 0);
        build.set(*rig.joints.back(), "ikjRetargeting", 1);
    }
    for (std::size_t i = 0; i < bones.size(); ++i)
        for (std::size_t a = 0; a < 3; ++a)
            if (!bones[i].turns[a])
                build.set(*rig.joints[i], std::string("ikAxis") + "XYZ"[a] + "RotEnable", 0);
    for (const TrackGoal& goal : goals) {
        Item* joint = rig.joints[goal.bone];
        Item* locator = build.create("locator", "Goal", nullptr);
        if (goal.position)
            build.run("ikfb.task", {joint}, {0, 1});
        if (goal.rotation) {
            build.run("ikfb.task", {joint}, {1, 1});
            build.set(*joint, "ikotLength", -1); // the whole chain turns towards it, as for a position
        }
        // The goal goes first: a pair that begins with the rig's root is refused.
        build.run("ikfb.goalAssign", {locator, joint}, {!goal.rotation ? 1 : goal.position ? 0 : 2});
        rig.goals.push_back(locator);
    }
    expect(scene.setSetupMode(false));
    return rig;
}

} // namespace app
