// SPDX-License-Identifier: MIT
// A scene of a host with the built plug-in in it, in which rigs are made in a few lines and looked at.
#pragma once

#include <refhost/Evaluation.h>
#include <refhost/Host.h>
#include <refhost/Modules.h>

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace e2e {

using refhost::Channel;
using refhost::Item;
using refhost::LocalParts;
using refhost::Matrix33;
using refhost::Matrix34;
using refhost::Vector3;

/// Every edit is one step of its own; an edit that the host refuses ends the test with the host's sentence.
class RigScene {
public:
    /// Loads the module that was built; `load` false leaves the host without it.
    explicit RigScene(bool load = true);
    /// Expects that the module never passed nothing where the host needs something.
    ~RigScene();
    RigScene(const RigScene&) = delete;
    RigScene& operator=(const RigScene&) = delete;

    // Items; `at` is the placement in the parent

    Item& locator(const char* name, Item* parent, const LocalParts& at = {});
    /// A locator with the packages of a joint; its rest pose is `at`. Linked below its parent when that is a
    /// joint.
    Item& joint(const char* name, Item* parent, const LocalParts& at = {});
    /// The root joint of a rig with its solver item below it. What is solved then is the pose, in `steps`
    /// steps with no early end, so that a difference in a last bit can't change how often is stepped.
    Item& root(const char* name, Item* parent, const LocalParts& at = {}, int steps = 20);
    /// `count` joints one below the other, each displaced by `step`; gives the last.
    Item& chain(const char* name, Item& parent, int count, const LocalParts& step);
    /// The first solver item below the root.
    Item& solver(Item& root) const;

    // Links

    void link(const char* graph, Item& from, Item& to);
    void unlink(const char* graph, Item& from, Item& to);
    void link(Item& from, const char* fromChannel, Item& to, const char* toChannel);

    // Tasks and goals

    void positionTask(Item& joint, Item& root, const Vector3& goal);
    void orientationTask(Item& joint, Item& root, const Vector3& radians);
    /// A locator at the place that drives the task of this kind (`pt` or `ot`) through a channel link.
    Item& goalItem(const char* name, Item& joint, std::string_view kind, const LocalParts& at);

    // Values

    void set(Item& item, std::string_view channel, double value);
    /// `channel.X`, `.Y`, `.Z`.
    void set(Item& item, std::string_view channel, const Vector3& value);
    void key(Item& item, std::string_view channel, double seconds, double value,
             refhost::Interpolation how = refhost::Interpolation::Linear);
    /// Writes position, rotation and scale of the item's transforms.
    void place(Item& item, const LocalParts& at);
    /// Rest channels from a placement.
    void setRest(Item& item, const LocalParts& at);
    void package(Item& item, const char* name);
    /// Has the host make all nodes anew.
    void freshNodes();
    void setupMode(bool on);
    void undo();

    // Looking

    Matrix34 matrix(const Item& item, const char* channel);
    double number(const Item& item, std::string_view channel);
    int integer(const Item& item, std::string_view channel);
    Vector3 vector(const Item& item, const std::string& channel);
    /// Positions and rotations that are shown of the items.
    std::vector<Matrix34> pose(const std::vector<Item*>& items);
    /// The pose that the transforms alone give.
    std::vector<Matrix34> animated(const std::vector<Item*>& items);
    /// All joints of the scene, in order of making.
    std::vector<Item*> joints() const;
    std::size_t nodes(const char* modifier) { return evaluation().nodeCount(modifier); }
    refhost::Evaluation& evaluation() { return refhost::Evaluation::of(*m_Scene); }
    refhost::Modules& modules() { return refhost::Modules::of(host); }
    /// What the user was told since the last call.
    std::vector<std::string> takeMessages() { return std::exchange(m_Messages, {}); }

    refhost::Scene& scene() { return *m_Scene; }
    /// Goes on with another scene of the same host.
    void adopt(refhost::Scene& scene) { m_Scene = &scene; }
    Item& item(std::string_view uniqueName) const;

    static Channel& channel(const Item& item, std::string_view name);

    std::vector<std::string> m_Messages; // before the host, which tells while it goes
    refhost::Host host;

private:
    void write(Item& item, std::string_view channel, double value);

    refhost::Scene* m_Scene = nullptr;
};

/// A placement from position, rotation in degrees and scale.
LocalParts at(const Vector3& position, const Vector3& degrees = {}, const Vector3& scale = {1, 1, 1});

/// Largest difference of two poses, number by number; not finite where a number is not.
double difference(const std::vector<Matrix34>& a, const std::vector<Matrix34>& b);

} // namespace e2e
