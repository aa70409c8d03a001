// SPDX-License-Identifier: MIT
// Making and cleaning up what modules put on items.
#include "module/PackageInstances.h"

#include "module/HostBinding.h"
#include "module/SceneObjects.h"
#include "refhost/Scene.h"

#include <algorithm>

namespace refhost {

PackageInstances::~PackageInstances()
{
    remove([](const Item&, const Instance&) { return true; });
}

void PackageInstances::addServer(PackageServer& server)
{
    m_Servers.push_back(&server);
    for (const auto& scene : m_Binding.host().scenes())
        expectAll(*scene);
}

void PackageInstances::removeServer(const PackageServer& server)
{
    std::erase(m_Servers, &server);
    remove([&](const Item&, const Instance& instance) { return instance.server == &server; });
}

void PackageInstances::expect(Item& item)
{
    if (!m_Servers.empty())
        m_Expected.insert(&item);
}

void PackageInstances::expectAll(Scene& scene)
{
    if (m_Servers.empty())
        return;
    for (Item* item : scene.items())
        m_Expected.insert(item);
}

void PackageInstances::makeExpected()
{
    if (m_Expected.empty())
        return;
    std::vector<Item*> items(m_Expected.begin(), m_Expected.end());
    m_Expected.clear();
    std::sort(items.begin(), items.end(), [](const Item* a, const Item* b) { return a->id() < b->id(); });
    for (Item* item : items)
        makeOn(*item);
}

void PackageInstances::makeOn(Item& item)
{
    for (PackageServer* server : m_Servers) {
        if (!item.hasPackage(server->name))
            continue;
        if (const auto found = m_Instances.find(&item); found != m_Instances.end()) {
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
        if (failed(result) && !std::exchange(server->failedBefore, true))
            m_Binding.host().tell(MessageLevel::Error,
                                  "'" + server->name + "' can't put its object on '" + item.label()
                                      + "': " + resultText(result) + ". Its channels work all the same.");
        m_Instances[&item].push_back(std::move(instance));
    }
}

void PackageInstances::clean(Instance& instance)
{
    const PhaseScope phase(m_Binding, kEditPhase);
    if (instance.object)
        (void)instance.object.call<&ZxPackageInstanceTable::cleanUp>();
    instance.object.clear();
}

void PackageInstances::removeFrom(const Item& item)
{
    m_Expected.erase(const_cast<Item*>(&item)); // a key alone
    const auto found = m_Instances.find(&item);
    if (found == m_Instances.end())
        return;
    for (Instance& instance : found->second)
        clean(instance);
    m_Instances.erase(found);
}

void PackageInstances::removeFrom(const Item& item, std::string_view package)
{
    const auto found = m_Instances.find(&item);
    if (found == m_Instances.end())
        return;
    for (Instance& instance : found->second) {
        if (instance.server->name == package)
            clean(instance);
    }
    std::erase_if(found->second, [&](const Instance& one) { return one.server->name == package; });
    if (found->second.empty())
        m_Instances.erase(found);
}

void PackageInstances::removeFrom(const Scene& scene)
{
    std::erase_if(m_Expected, [&](const Item* item) { return &item->scene() == &scene; });
    remove([&](const Item& item, const Instance&) { return &item.scene() == &scene; });
}

template <class Wanted>
void PackageInstances::remove(Wanted wanted)
{
    for (auto at = m_Instances.begin(); at != m_Instances.end();) {
        List& list = at->second;
        for (Instance& instance : list) {
            if (wanted(*at->first, instance))
                clean(instance);
        }
        std::erase_if(list, [&](const Instance& one) { return wanted(*at->first, one); });
        at = list.empty() ? m_Instances.erase(at) : std::next(at);
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

std::size_t PackageInstances::count() const
{
    std::size_t count = 0;
    for (const auto& [item, list] : m_Instances)
        count += static_cast<std::size_t>(std::count_if(
            list.begin(), list.end(), [](const Instance& one) { return static_cast<bool>(one.object); }));
    return count;
}

std::vector<ZxObject*> PackageInstances::on(const Item& item) const
{
    std::vector<ZxObject*> list;
    const auto found = m_Instances.find(&item);
    if (found == m_Instances.end())
        return list;
    for (const Instance& instance : found->second) {
        if (instance.object)
            list.push_back(instance.object.object());
    }
    return list;
}

ZxObject* PackageInstances::find(const Item& item, std::string_view package) const
{
    const auto found = m_Instances.find(&item);
    if (found == m_Instances.end())
        return nullptr;
    for (const Instance& instance : found->second) {
        if (instance.server->name == package)
            return instance.object.object();
    }
    return nullptr;
}

} // namespace refhost
