// SPDX-License-Identifier: MIT
// The modules of a host: loading, unloading, and what they hold.
#include "refhost/Modules.h"

#include "module/CommandObjects.h"
#include "module/LoadedModule.h"
#include "module/SceneObjects.h"
#include "refhost/Commands.h"
#include "refhost/Messages.h"
#include "refhost/Scene.h"
#include "refhost/Tool.h"

#include <algorithm>
#include <cstdlib>
#include <filesystem>

namespace refhost {
namespace {

constexpr const char* kModuleFile = "ik.zx";
/// Folders beside the running program's, in order of trying.
constexpr const char* kModuleFolders[] = {"", "../lib/sinew", "../lib"};

std::string fileName(const std::string& path) { return std::filesystem::path(path).filename().string(); }

} // namespace

Modules& Modules::of(Host& host) { return host.attachments().require<Modules>(host); }

Modules::Modules(Host& host) : m_Host(host)
{
    Modifiers::of(host); // these must outlive this
    Commands::of(host);
    Messages::of(host);
    ToolMakers::of(host);
    m_Binding = std::make_unique<HostBinding>(host);
}

Modules::~Modules() { unloadAll(); }

Result Modules::load(const std::string& path)
{
    const std::string name = fileName(path);
    if (isLoaded(name))
        return Result::failure("The module '" + name + "' is loaded already.");
    auto library = Library::open(path);
    if (!library.ok())
        return library.result();
    void* entry = library.value->find(ZX_MODULE_ENTRY);
    if (!entry)
        return Result::failure("'" + path
                               + "' is a library but no module: it has no function " ZX_MODULE_ENTRY ".");
    // Without its sentences a module still works; the user reads table and number then.
    const std::filesystem::path messages = std::filesystem::path(path).parent_path() / "messages";
    if (Result read = Messages::of(m_Host).loadFolder(messages.string()); !read.ok())
        m_Host.tell(MessageLevel::Warning, read.message);
    return start(std::make_unique<LoadedModule>(*m_Binding, name, std::move(library.value)),
                 reinterpret_cast<ZxModuleEntry>(entry));
}

Result Modules::loadEntry(std::string_view name, ZxModuleEntry entry)
{
    if (isLoaded(name))
        return Result::failure("The module '" + std::string(name) + "' is loaded already.");
    if (!entry)
        return Result::failure("The module '" + std::string(name) + "' has no entry.");
    return start(std::make_unique<LoadedModule>(*m_Binding, std::string(name), nullptr), entry);
}

Result Modules::start(std::unique_ptr<LoadedModule> module, ZxModuleEntry entry)
{
    if (Result started = module->start(entry); !started.ok())
        return started;
    m_Modules.push_back(std::move(module));
    return {};
}

Result Modules::unload(std::string_view name)
{
    const auto found = std::find_if(m_Modules.begin(), m_Modules.end(),
                                    [&](const auto& module) { return module->name() == name; });
    if (found == m_Modules.end())
        return Result::failure("There is no module '" + std::string(name) + "' to unload.");
    if (Commands::of(m_Host).depth() > 0)
        return Result::failure("A command is running; '" + std::string(name)
                               + "' has to stay until it ends.");
    (*found)->stop();
    // With other modules loaded, what is held may be theirs.
    if (m_Modules.size() == 1) {
        if (const auto held = m_Binding->liveReferences(); !held.empty()) {
            std::string text = "The module '" + std::string(name) + "' was unloaded and still holds ";
            for (std::size_t i = 0; i < held.size(); ++i)
                text += (i == 0 ? "" : ", ") + std::to_string(held[i].references) + " of "
                    + held[i].interfaceName;
            m_Host.tell(MessageLevel::Error, text + ". It counts references wrongly.");
            m_Binding->markAllGone();
        }
    }
    m_Modules.erase(found);
    return {};
}

void Modules::unloadAll()
{
    while (!m_Modules.empty())
        (void)unload(std::string(m_Modules.back()->name()));
}

std::vector<std::string> Modules::names() const
{
    std::vector<std::string> list;
    for (const auto& module : m_Modules)
        list.push_back(module->name());
    return list;
}

bool Modules::isLoaded(std::string_view name) const
{
    return std::any_of(m_Modules.begin(), m_Modules.end(),
                       [&](const auto& module) { return module->name() == name; });
}

std::vector<ServerInfo> Modules::servers(std::string_view name) const
{
    for (const auto& module : m_Modules) {
        if (module->name() == name)
            return module->servers();
    }
    return {};
}

std::string Modules::defaultPath()
{
    if (const char* set = std::getenv("SINEW_MODULE"); set && *set)
        return set;
    std::error_code error;
    const std::filesystem::path program = std::filesystem::read_symlink("/proc/self/exe", error);
    const std::filesystem::path folder = error ? std::filesystem::path(".") : program.parent_path();
    for (const char* beside : kModuleFolders) {
        const std::filesystem::path path = (folder / beside / kModuleFile).lexically_normal();
        if (std::filesystem::exists(path, error))
            return path.string();
    }
    return (folder / kModuleFile).string();
}

ChannelState Modules::channelState(Channel& channel, double time) const
{
    ChannelState state;
    const PackageServer* server = m_Binding->instances().server(channel.definition().package);
    if (!server || !server->channelUI)
        return state;
    const PhaseScope phase(*m_Binding, kEditPhase);
    const char* name = channel.name().c_str();
    uint32_t count = 0;
    (void)server->channelUI.call<&ZxChannelUITable::dependencyCount>(name, &count);
    for (uint32_t i = 0; i < count; ++i) {
        uint32_t typeCode = 0;
        const char* dependency = nullptr;
        if (failed(server->channelUI.call<&ZxChannelUITable::dependency>(name, i, &typeCode, &dependency)))
            break;
        state.dependsOn.emplace_back(dependency ? dependency : "");
    }
    Scene& scene = channel.item().scene();
    const HeldObject message(m_Binding->make<MessageObject>());
    const HeldObject item(m_Binding->itemObject(channel.item()));
    const HeldObject read(m_Binding->make<ChannelReadObject>(scene, scene.evaluatedLayer(), time,
                                                             Evaluation::of(scene).read(time)));
    const zxresult result =
        server->channelUI.call<&ZxChannelUITable::enabled>(name, message.face(), item.face(), read.face());
    state.enabled = result == kZxTrue;
    state.message = message.object().sentence();
    if (failed(result) && result != kZxMessage)
        state.message = "It can't be told: " + resultText(result) + ".";
    return state;
}

std::vector<LiveReferences> Modules::liveReferences() const { return m_Binding->liveReferences(); }
std::uint64_t Modules::callCount() const { return m_Binding->callCount(); }
std::uint64_t Modules::nullCount() const { return m_Binding->nullCount(); }
void Modules::failCall(std::uint64_t n) { m_Binding->failCall(n); }
std::size_t Modules::instanceCount() const { return m_Binding->instances().count(); }

} // namespace refhost
