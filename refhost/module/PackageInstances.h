// SPDX-License-Identifier: MIT
// What modules put on items that carry their packages.
#pragma once

#include "refhost/Item.h"

#include <glue/Reference.h>
#include <zx/ZxChannelUI.h>
#include <zx/ZxPackage.h>

#include <atomic>
#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace refhost {

class HostBinding;
class SceneWatch;

/// A package server of a module.
struct PackageServer {
    std::string name;
    CZxLocalize<ZxPackageTable> object;
    CZxLocalize<ZxChannelUITable> channelUI; ///< empty when all its channels are always enabled
    std::atomic<bool> failedBefore = false; ///< the user knows that it can't make instances
};

/// What modules put on the items of one scene, and the items that wait for it.
struct SceneInstances {
    struct Instance {
        const PackageServer* server;
        CZxLocalize<ZxPackageInstanceTable> object; ///< empty when it can't be made
    };
    using List = std::vector<Instance>;

    std::unordered_map<const Item*, List> made;
    std::unordered_set<Item*> expected;
};

/// Instances are made after the step that brought the item or the package, and cleaned up before either goes;
/// undo and redo are such steps.
class PackageInstances {
public:
    explicit PackageInstances(HostBinding& binding) : m_Binding(binding) { }
    ~PackageInstances();

    // For a thread that is alone

    void addServer(PackageServer& server);
    /// Cleans up all that the server put on items.
    void removeServer(const PackageServer& server);
    /// In all scenes.
    void makeExpected();
    std::size_t count() const;

    // For the thread of a scene

    /// The item may want instances once the step is over.
    void expect(SceneWatch& scene, Item& item);
    void expectAll(SceneWatch& scene);
    void makeExpected(SceneWatch& scene);
    void removeFrom(SceneWatch& scene, const Item& item);
    void removeFrom(SceneWatch& scene, const Item& item, std::string_view package);
    void removeFrom(SceneWatch& scene);
    /// The instance of a package on an item, which stays here; null when there is none.
    ZxObject* find(const Item& item, std::string_view package) const;
    /// All instances on an item, which stay here, in order of their packages.
    std::vector<ZxObject*> on(const Item& item) const;

    /// The server of a package or item type; null when no module brought it.
    const PackageServer* server(std::string_view name) const;

    PackageInstances(const PackageInstances&) = delete;
    PackageInstances& operator=(const PackageInstances&) = delete;

private:
    using Instance = SceneInstances::Instance;
    using List = SceneInstances::List;

    void makeOn(SceneInstances& scene, Item& item);
    void clean(Instance& instance);
    const List* listOf(const Item& item) const;
    template <class Wanted>
    void remove(SceneInstances& scene, Wanted wanted);

    HostBinding& m_Binding;
    std::vector<PackageServer*> m_Servers;
};

} // namespace refhost
