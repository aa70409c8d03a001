// SPDX-License-Identifier: MIT
// Modules: plug-ins that are loaded at run time, the servers that they offer, and the host as they see it.
#pragma once

#include "refhost/Host.h"
#include "refhost/Result.h"

#include <zx/ZxModule.h>

#include <cstddef>
#include <cstdint>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

class Channel;
class HostBinding;
class LoadedModule;

/// A server as the module's tags name it.
struct ServerInfo {
    std::string name;
    ZxId interfaceId{};
};

/// References that modules hold to the host's objects of one interface.
struct LiveReferences {
    std::string interfaceName;
    std::size_t objects = 0;
    std::size_t references = 0;
};

/// Whether a channel can be changed.
struct ChannelState {
    bool enabled = true;
    std::string message; ///< why not; may be empty
    std::vector<std::string> dependsOn; ///< names of the channels that decide
};

/// The modules of one host. Packages and item types that a module registered stay known to the host after it
/// was unloaded; its nodes and what it put on items go.
class Modules {
public:
    static Modules& of(Host& host);

    /// Made by `of`.
    explicit Modules(Host& host);
    ~Modules();

    /// Loads a module from a file, with the messages in the folder `messages` beside it. The message says
    /// what is wrong with it: no such file, unreadable, no module, no entry, a start that failed, or a server
    /// that the host can't take.
    Result load(const std::string& path);
    /// The same with an entry function in this process; `name` is the module's name.
    Result loadEntry(std::string_view name, ZxModuleEntry entry);
    /// Lets the module go. A module that still holds host objects then is named in a message with the
    /// interfaces and counts.
    Result unload(std::string_view name);
    void unloadAll();

    /// File names without folder, in order of loading.
    std::vector<std::string> names() const;
    bool isLoaded(std::string_view name) const;
    /// Empty for an unknown module.
    std::vector<ServerInfo> servers(std::string_view module) const;
    /// Where `load` looks by habit: the environment variable SINEW_MODULE, else `ik.zx` beside the running
    /// program or in ../lib. A path is given even when nothing is there.
    static std::string defaultPath();

    /// Whether the module that brought the channel lets it be changed, going by the evaluated values at a
    /// time in seconds. Channels of the host are always enabled.
    ChannelState channelState(Channel& channel, double time) const;

    // What tests and checks look at

    /// Interfaces of which modules hold references now.
    std::vector<LiveReferences> liveReferences() const;
    /// Host calls that modules made on all threads; `addRef` and `release` are not counted.
    std::uint64_t callCount() const;
    /// Those among them that passed null where something is needed; each was refused.
    std::uint64_t nullCount() const;
    /// The n-th host call of the calling thread from now on answers a general failure, 1 being the next; 0
    /// takes it back.
    void failCall(std::uint64_t n);
    /// Objects that modules put on items now.
    std::size_t instanceCount() const;

    /// The host's side of the border, for the rest of the host.
    HostBinding& binding() { return *m_Binding; }

    Modules(const Modules&) = delete;
    Modules& operator=(const Modules&) = delete;

private:
    Result start(std::unique_ptr<LoadedModule> module, ZxModuleEntry entry);

    Host& m_Host;
    std::unique_ptr<HostBinding> m_Binding;
    std::vector<std::unique_ptr<LoadedModule>> m_Modules;
};

} // namespace refhost
