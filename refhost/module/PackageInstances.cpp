// SPDX-License-Identifier: MIT
// Making and cleaning up what modules put on items.
#include "module/PackageInstances.h"

#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "module/SceneWatch.h"

#include <algorithm>

namespace refhost {

PackageInstances::~PackageInstances()
{
    m_Binding.forEachWatch([&](SceneWatch& scene) { removeFrom(scene); });
}

void PackageInstances::addServer(PackageServer& server)
{
    m_Servers.push_back(&server);
    m_Binding.host().forEachDesk([&](Desk& desk) {
        for (const auto& scene : desk.scenes())
            expectAll(m_Binding.watch(*scene));
    });
}

void PackageInstances::removeServer(const PackageServer& server)
{
    std::erase(m_Servers, &server);
    m_Binding.forEachWatch([&](SceneWatch& scene) {
        remove(scene.instances(),
               [&](const Item&, const Instance& instance) { return instance.server == &server; });
    });
}

void PackageInstances::makeExpected()
{
    m_Binding.forEachWatch([&](SceneWatch& scene) { makeExpected(scene); });
}

std::size_t PackageInstances::count() const
{
    std::size_t count = 0;
    m_Binding.forEachWatch([&](SceneWatch& scene) {
        for (const auto& [item, list] : scene.instances().made)
            count += static_cast<std::size_t>(std::count_if(
                list.begin(), list.end(), [](const Instance& one) { return static_cast<bool>(one.object); }));
    });
    return count;
}

void PackageInstances::expect(SceneWatch& scene, Item& item)
{
    if (!m_Servers.empty())
        scene.instances().expected.insert(&item);
}

void PackageInstances::expectAll(SceneWatch& scene)
{
    if (m_Servers.empty())
        return;
    for (Item* item : scene.scene().items())
        scene.instances().expected.insert(item);
}

void PackageInstances::makeExpected(SceneWatch& scene)
{
    SceneInstances& instances = scene.instances();
    if (instances.expected.empty())
        return;
    std::vector<Item*> items(instances.expected.begin(), instances.expected.end());
    instances.expected.clear();
    std::sort(items.begin(), items.end(), [](const Item* a, const Item* b) { return a->id() < b->id(); });
    for (Item* item : items)
        makeOn(instances, *item);
}

void PackageInstances::makeOn(SceneInstances& scene, Item& item)
{
    for (PackageServer* server : m_Servers) {
        if (!item.hasPackage(server->name))
            continue;
        if (const auto found = scene.made.find(&item); found != scene.made.end()) {
            const List& list = found->second;
            if (std::any_of(list.begin(), list.end(),
                            [&](const Instance& one) { return one.server == server; }))
                continue;
        }
        const PhaseScope phase(m_Binding, kEditPhase);
        Instance instance{server, {}};
        ZxObject* made = nullptr;
        zxresult result = server->object.call<&ZxPackageTable::attach>(&made);
        CZxObject holder;
        holder.adopt(failed(result) ? nullptr : made);
        if (succeeded(result))
            result = instance.object.query(holder.object(), kZxIdPackageInstance);
        if (succeeded(result)) {
            const HeldObject held(m_Binding.itemObject(item));
            result = instance.object.call<&ZxPackageInstanceTable::initialise>(held.face());
            if (failed(result)) {
                clean(instance);
                instance.object.clear();
            }
        }
        if (failed(result) && !server->failedBefore.exchange(true))
            m_Binding.host().tell(MessageLevel::Error,
                                  "'" + server->name + "' can't put its object on '" + item.label()
                                      + "': " + resultText(result) + ". Its channels work all the same.");
        scene.made[&item].push_back(std::move(instance));
    }
}

void PackageInstances::clean(Instance& instance)
{
    const PhaseScope phase(m_Binding, kEditPhase);
    if (instance.object)
        (void)instance.object.call<&ZxPackageInstanceTable::cleanUp>();
    instance.object.clear();
}

void PackageInstances::removeFrom(SceneWatch& scene, const Item& item)
{
    SceneInstances& instances = scene.instances();
    instances.expected.erase(const_cast<Item*>(&item)); // a key alone
    const auto found = instances.made.find(&item);
    if (found == instances.made.end())
        return;
    for (Instance& instance : found->second)
        clean(instance);
    instances.made.erase(found);
}

void PackageInstances::removeFrom(SceneWatch& scene, const Item& item, std::string_view package)
{
    SceneInstances& instances = scene.instances();
    const auto found = instances.made.find(&item);
    if (found == instances.made.end())
        return;
    for (Instance& instance : found->second) {
        if (instance.server->name == package)
            clean(instance);
    }
    std::erase_if(found->second, [&](const Instance& one) { return one.server->name == package; });
    if (found->second.empty())
        instances.made.erase(found);
}

void PackageInstances::removeFrom(SceneWatch& scene)
{
    scene.instances().expected.clear();
    remove(scene.instances(), [](const Item&, const Instance&) { return true; });
}

template <class Wanted>
void PackageInstances::remove(SceneInstances& scene, Wanted wanted)
{
    for (auto at = scene.made.begin(); at != scene.made.end();) {
        List& list = at->second;
        for (Instance& instance : list) {
            if (wanted(*at->first, instance))
                clean(instance);
        }
        std::erase_if(list, [&](const Instance& one) { return wanted(*at->first, one); });
        at = list.empty() ? scene.made.erase(at) : std::next(at);
    }
}

const PackageServer* PackageInstances::server(std::string_view name) const
{
    for (const PackageServer* each : m_Servers) {
        if (each->name == name)
            return each;
    }
    return nullptr;
}

const PackageInstances::List* PackageInstances::listOf(const Item& item) const
{
    SceneInstances& scene = m_Binding.watch(item.scene()).instances();
    const auto found = scene.made.find(&item);
    return found == scene.made.end() ? nullptr : &found->second;
}

std::vector<ZxObject*> PackageInstances::on(const Item& item) const
{
    std::vector<ZxObject*> list;
    if (const List* instances = listOf(item)) {
        for (const Instance& instance : *instances) {
            if (instance.object)
                list.push_back(instance.object.object());
        }
    }
    return list;
}

ZxObject* PackageInstances::find(const Item& item, std::string_view package) const
{
    if (const List* instances = listOf(item)) {
        for (const Instance& instance : *instances) {
            if (instance.server->name == package)
                return instance.object.object();
        }
    }
    return nullptr;
}

} // namespace refhost
