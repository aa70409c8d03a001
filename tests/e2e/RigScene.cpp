// SPDX-License-Identifier: MIT
// Making rigs and looking at them.
#include "e2e/RigScene.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cmath>
#include <limits>
#include <numbers>
#include <stdexcept>

namespace e2e {
namespace {

constexpr const char* kAxes[] = {".X", ".Y", ".Z"};

void must(const refhost::Result& result)
{
    if (!result.ok())
        throw std::runtime_error(result.message);
}
template <class T>
T must(const refhost::ResultOf<T>& answer)
{
    must(answer.result());
    return answer.value;
}

/// One edit as a step of its own.
template <class Body>
void edit(refhost::Scene& scene, const char* label, Body body)
{
    refhost::Step step(scene.journal(), label);
    body();
    must(step.commit());
}

} // namespace

RigScene::RigScene(bool load)
{
    host.setMessageSink([this](refhost::MessageLevel level, std::string_view text) {
        if (level != refhost::MessageLevel::Info)
            m_Messages.emplace_back(text);
    });
    if (load)
        must(modules().load(SINEW_MODULE_PATH));
    m_Scene = &host.newScene();
}

RigScene::~RigScene() { EXPECT_EQ(modules().nullCount(), 0u); }

Channel& RigScene::channel(const Item& item, std::string_view name)
{
    if (Channel* found = item.channel(name))
        return *found;
    throw std::runtime_error(item.label() + " has no channel " + std::string(name));
}

Item& RigScene::item(std::string_view uniqueName) const
{
    if (Item* found = m_Scene->findByUniqueName(uniqueName))
        return *found;
    throw std::runtime_error("no item " + std::string(uniqueName));
}

Item& RigScene::locator(const char* name, Item* parent, const LocalParts& placement)
{
    Item* made = nullptr;
    edit(*m_Scene, "locator", [&] {
        made = must(m_Scene->createItem(host.locatorType(), name, {.parent = parent}));
        for (int kind = 0; kind < refhost::kTransformKindCount; ++kind)
            must(m_Scene->addTransformItem(*made, static_cast<refhost::TransformKind>(kind)).result());
    });
    place(*made, placement);
    return *made;
}

Item& RigScene::joint(const char* name, Item* parent, const LocalParts& placement)
{
    Item& made = locator(name, parent, placement);
    package(made, "ik.package");
    package(made, "ik.joint");
    setRest(made, placement);
    if (parent && parent->hasPackage("ik.package"))
        link("ikRefs", *parent, made);
    return made;
}

Item& RigScene::root(const char* name, Item* parent, const LocalParts& placement, int steps)
{
    Item& made = joint(name, parent, placement);
    const refhost::ItemType* type = host.findType("ikFullBody");
    if (!type)
        throw std::runtime_error("the module has no item type for solvers");
    Item* solver = nullptr;
    edit(*m_Scene, "solver",
         [&] { solver = must(m_Scene->createItem(*type, std::string(name) + "Solver", {.parent = &made})); });
    set(*solver, "iksSteps", steps);
    set(*solver, "iksTolerance", 0);
    return made;
}

Item& RigScene::chain(const char* name, Item& parent, int count, const LocalParts& step)
{
    Item* last = &parent;
    for (int i = 0; i < count; ++i)
        last = &joint((name + std::to_string(i)).c_str(), last, step);
    return *last;
}

Item& RigScene::solver(Item& root) const
{
    for (Item* child : root.children()) {
        if (child->isOfType("ikFullBody"))
            return *child;
    }
    throw std::runtime_error(root.label() + " has no solver");
}

void RigScene::link(const char* graph, Item& from, Item& to)
{
    edit(*m_Scene, "link", [&] { must(m_Scene->addLink(graph, from, to)); });
}

void RigScene::unlink(const char* graph, Item& from, Item& to)
{
    edit(*m_Scene, "unlink", [&] { must(m_Scene->deleteLink(graph, from, to)); });
}

void RigScene::link(Item& from, const char* fromChannel, Item& to, const char* toChannel)
{
    edit(*m_Scene, "link channels",
         [&] { must(m_Scene->addLink(channel(from, fromChannel), channel(to, toChannel))); });
}

void RigScene::positionTask(Item& joint, Item& root, const Vector3& goal)
{
    package(joint, "ik.positionTask");
    link("ikTasks", solver(root), joint);
    set(joint, "ikptPos", goal);
}

void RigScene::orientationTask(Item& joint, Item& root, const Vector3& radians)
{
    package(joint, "ik.orientationTask");
    link("ikTasks", solver(root), joint);
    set(joint, "ikotRot", radians);
}

Item& RigScene::goalItem(const char* name, Item& joint, std::string_view kind, const LocalParts& placement)
{
    Item& goal = locator(name, nullptr, placement);
    const bool position = kind == "pt";
    link(goal, position ? "wposMatrix" : "wrotMatrix", joint, position ? "ikptMatrix" : "ikotMatrix");
    return goal;
}

void RigScene::write(Item& item, std::string_view name, double value)
{
    must(m_Scene->writeNumber(channel(item, name), refhost::Action::Setup, 0, value,
                              refhost::WriteMode::Plain));
}

void RigScene::set(Item& item, std::string_view name, double value)
{
    edit(*m_Scene, "set", [&] { write(item, name, value); });
}

void RigScene::set(Item& item, std::string_view name, const Vector3& value)
{
    edit(*m_Scene, "set", [&] {
        for (std::size_t i = 0; i < 3; ++i)
            write(item, std::string(name) + kAxes[i], value[i]);
    });
}

void RigScene::key(Item& item, std::string_view name, double seconds, double value,
                   refhost::Interpolation how)
{
    edit(*m_Scene, "key", [&] {
        must(m_Scene->putKey(channel(item, name), refhost::Action::Anim,
                             {.time = seconds, .number = value, .interpolation = how}));
    });
}

void RigScene::place(Item& item, const LocalParts& placement)
{
    edit(*m_Scene, "place", [&] {
        const auto put = [&](refhost::TransformKind kind, const char* name, const Vector3& value) {
            for (std::size_t i = 0; i < 3; ++i)
                write(*item.transformItem(kind), std::string(name) + kAxes[i], value[i]);
        };
        put(refhost::TransformKind::Position, "pos", placement.position);
        put(refhost::TransformKind::Rotation, "rot", placement.rotation);
        put(refhost::TransformKind::Scale, "scl", placement.scale);
        write(*item.transformItem(refhost::TransformKind::Rotation), "order", placement.order);
    });
}

void RigScene::setRest(Item& item, const LocalParts& placement)
{
    const Matrix33 rotation = refhost::matrixFromEuler(placement.rotation, placement.order);
    set(item, "ikRestPos", placement.position);
    set(item, "ikRestXAxis", {rotation[0][0], rotation[1][0], rotation[2][0]});
    set(item, "ikRestYAxis", {rotation[0][1], rotation[1][1], rotation[2][1]});
    set(item, "ikRestZAxis", {rotation[0][2], rotation[1][2], rotation[2][2]});
}

void RigScene::package(Item& item, const char* name)
{
    edit(*m_Scene, "package", [&] { must(m_Scene->addPackage(item, name)); });
}

void RigScene::freshNodes()
{
    edit(*m_Scene, "reset", [&] {
        must(m_Scene->resetModifier("ikfb"));
        must(m_Scene->resetModifier("iktask"));
    });
}

void RigScene::setupMode(bool on)
{
    edit(*m_Scene, "setup mode", [&] { must(m_Scene->setSetupMode(on)); });
}

void RigScene::undo() { must(m_Scene->journal().undo()); }

Matrix34 RigScene::matrix(const Item& item, const char* name)
{
    Matrix34 out;
    if (!evaluation().matrix(channel(item, name), host.time(), out))
        throw std::runtime_error(std::string(name) + " is no matrix");
    return out;
}

double RigScene::number(const Item& item, std::string_view name)
{
    return evaluation().number(channel(item, name), host.time());
}

int RigScene::integer(const Item& item, std::string_view name)
{
    return evaluation().integer(channel(item, name), host.time());
}

Vector3 RigScene::vector(const Item& item, const std::string& name)
{
    return {number(item, name + ".X"), number(item, name + ".Y"), number(item, name + ".Z")};
}

std::vector<Matrix34> RigScene::pose(const std::vector<Item*>& items)
{
    std::vector<Matrix34> out;
    for (const Item* each : items)
        out.push_back({matrix(*each, "wrotMatrix").linear, matrix(*each, "wposMatrix").offset});
    return out;
}

std::vector<Matrix34> RigScene::animated(const std::vector<Item*>& items)
{
    std::vector<Matrix34> out;
    for (const Item* each : items) {
        std::vector<const Item*> path;
        for (const Item* i = each; i; i = i->parent())
            path.push_back(i);
        refhost::WorldParts parts;
        for (auto i = path.rbegin(); i != path.rend(); ++i) {
            LocalParts local;
            local.position = vector(*(*i)->transformItem(refhost::TransformKind::Position), "pos");
            local.rotation = vector(*(*i)->transformItem(refhost::TransformKind::Rotation), "rot");
            local.scale = vector(*(*i)->transformItem(refhost::TransformKind::Scale), "scl");
            local.order = integer(*(*i)->transformItem(refhost::TransformKind::Rotation), "order");
            const refhost::WorldParts above = parts;
            parts = refhost::worldParts(local, i == path.rbegin() ? nullptr : &above);
        }
        out.push_back({parts.rotation.linear, parts.position.offset});
    }
    return out;
}

std::vector<Item*> RigScene::joints() const
{
    std::vector<Item*> out;
    for (Item* each : m_Scene->items()) {
        if (each->hasPackage("ik.package"))
            out.push_back(each);
    }
    return out;
}

LocalParts at(const Vector3& position, const Vector3& degrees, const Vector3& scale)
{
    LocalParts out{.position = position, .scale = scale};
    for (std::size_t i = 0; i < 3; ++i)
        out.rotation[i] = degrees[i] * std::numbers::pi / 180;
    return out;
}

double difference(const std::vector<Matrix34>& a, const std::vector<Matrix34>& b)
{
    if (a.size() != b.size())
        return std::numeric_limits<double>::infinity();
    double largest = 0;
    // A comparison with not-a-number is false, so it is asked the other way round.
    const auto add = [&](double x, double y) {
        if (!(std::abs(x - y) <= largest))
            largest = std::isnan(x - y) ? std::numeric_limits<double>::infinity() : std::abs(x - y);
    };
    for (std::size_t i = 0; i < a.size(); ++i) {
        for (std::size_t r = 0; r < 3; ++r) {
            add(a[i].offset[r], b[i].offset[r]);
            for (std::size_t c = 0; c < 3; ++c)
                add(a[i].linear.m[r][c], b[i].linear.m[r][c]);
        }
    }
    return largest;
}

} // namespace e2e
