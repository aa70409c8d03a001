// SPDX-License-Identifier: MIT
// What modules put on items that carry their packages.
#pragma once

#include "refhost/Item.h"

#include <glue/Reference.h>
#include <zx/ZxChannelUI.h>
#include <zx/ZxPackage.h>

#include <memory>
#include <string>
#include <string_view>
#include <unordered_map>
#include <unordered_set>
#include <vector>

namespace refhost {

class HostBinding;

/// A package server of a module.
struct PackageServer {
    std::string name;
    CZxLocalize<ZxPackageTable> object;
    CZxLocalize<ZxChannelUITable> channelUI; ///< empty when all its channels are always enabled
    bool failedBefore = false; ///< the user knows that it can't make instances
};

/// Instances are made after the step that brought the item or the package, and cleaned up before either goes;
/// undo and redo are such steps.
class PackageInstances {
public:
    explicit PackageInstances(HostBinding& binding) : m_Binding(binding) { }
    ~PackageInstances();

    void addServer(PackageServer& server);
    /// Cleans up all that the server put on items.
    void removeServer(const PackageServer& server);

    /// The item may want instances once the step is over.
    void expect(Item& item);
    void expectAll(Scene& scene);
    void makeExpected();
    void removeFrom(const Item& item);
    void removeFrom(const Item& item, std::string_view package);
    void removeFrom(const Scene& scene);

    /// The server of a package or item type; null when no module brought it.
    const PackageServer* server(std::string_view name) const;
    std::size_t count() const;
    /// The instance of a package on an item, which stays here; null when there is none.
    ZxObject* find(const Item& item, std::string_view package) const;
    /// All instances on an item, which stay here, in order of their packages.
    std::vector<ZxObject*> on(const Item& item) const;

    PackageInstances(const PackageInstances&) = delete;
    PackageInstances& operator=(const PackageInstances&) = delete;

private:
    struct Instance {
        const PackageServer* server;
        CZxLocalize<ZxPackageInstanceTable> object; // empty when it can't be made
    };
    using List = std::vector<Instance>;

    void makeOn(Item& item);
    void clean(Instance& instance);
    template <class Wanted>
    void remove(Wanted wanted);

    HostBinding& m_Binding;
    std::vector<PackageServer*> m_Servers;
    std::unordered_map<const Item*, List> m_Instances;
    std::unordered_set<Item*> m_Expected;
};

} // namespace refhost
