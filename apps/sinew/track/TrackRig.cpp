// SPDX-License-Identifier: MIT
// Builds the rig of `track` as scene data.
#include "track/TrackRig.h"

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
    void addPackage(Item& item, const char* name) { expect(m_Scene.addPackage(item, name)); }
    void link(const char* graph, Item& from, Item& to) { expect(m_Scene.addLink(graph, from, to)); }
    void link(Item& from, const char* source, Item& to, const char* target)
    {
        expect(m_Scene.addLink(channel(from, source), channel(to, target)));
    }
    void set(Item& item, const char* name, double value)
    {
        expect(m_Scene.writeNumber(channel(item, name), Action::Setup, 0, value, refhost::WriteMode::Plain));
    }
    void setVector(Item& item, const std::string& name, const std::array<double, 3>& value)
    {
        for (std::size_t a = 0; a < 3; ++a)
            set(item, (name + '.' + "XYZ"[a]).c_str(), value[a]);
    }
    void place(Item& item, const std::array<double, 3>& position)
    {
        setVector(*expectItem(m_Scene.addTransformItem(item, refhost::TransformKind::Position)), "pos",
                  position);
    }

private:
    static refhost::Channel& channel(Item& item, const char* name)
    {
        refhost::Channel* found = item.channel(name);
        if (!found)
            throw std::runtime_error("the rig could not be built: " + item.label() + " has no channel "
                                     + name);
        return *found;
    }

    Scene& m_Scene;
};

} // namespace

TrackRig buildTrackRig(Scene& scene, const std::vector<TrackBone>& bones, const std::vector<TrackGoal>& goals,
                       const TrackSettings& settings, const std::array<double, 3>& rootStart)
{
    TrackRig rig;
    Builder build(scene);
    for (const TrackBone& bone : bones) {
        Item* parent = bone.parent < 0 ? nullptr : rig.joints[static_cast<std::size_t>(bone.parent)];
        Item* joint = build.create("locator", bone.name, parent);
        const std::array<double, 3>& rest = parent ? bone.restTranslation : rootStart;
        build.place(*joint, rest);
        build.addPackage(*joint, "ik.package");
        build.addPackage(*joint, "ik.joint");
        build.setVector(*joint, "ikRestPos", rest);
        for (std::size_t a = 0; a < 3; ++a)
            if (!bone.turns[a])
                build.set(*joint, (std::string("ikAxis") + "XYZ"[a] + "RotEnable").c_str(), 0);
        if (parent)
            build.link("ikRefs", *parent, *joint);
        rig.joints.push_back(joint);
    }
    rig.solver = build.create("ikFullBody", "FullBodyIK", rig.joints.front());
    build.set(*rig.solver, "iksSteps", settings.steps);
    build.set(*rig.solver, "iksTolerance", settings.tolerance * 10000);
    build.set(*rig.solver, "iksPrecision", settings.precision);
    build.set(*rig.solver, "iksTaskPull", settings.pull);
    build.set(*rig.solver, "iksTransRoot", settings.translateRoot);
    if (!settings.fromRest) {
        // While no joint retargets, every evaluation puts the bones back on the animated pose. One that
        // retargets with no gain moves nothing and keeps the solved pose from frame to frame.
        build.set(*rig.solver, "iksSolveContinuous", 1);
        build.set(*rig.solver, "iksRetargetGain", 0);
        build.set(*rig.joints.back(), "ikjRetargeting", 1);
    }
    for (const TrackGoal& goal : goals) {
        Item& joint = *rig.joints[goal.bone];
        Item* locator = build.create("locator", "Goal", nullptr);
        build.link("ikTasks", *rig.solver, joint);
        if (goal.position) {
            build.addPackage(joint, "ik.positionTask");
            build.link(*locator, "wposMatrix", joint, "ikptMatrix");
        }
        if (goal.rotation) {
            build.addPackage(joint, "ik.orientationTask");
            build.link(*locator, "wrotMatrix", joint, "ikotMatrix");
            build.set(joint, "ikotLength", -1); // the whole chain turns towards it, as for a position
        }
        rig.goals.push_back(locator);
    }
    return rig;
}

} // namespace app
