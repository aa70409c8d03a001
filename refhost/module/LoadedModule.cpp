// SPDX-License-Identifier: MIT
// Starting a module: entry, context, tags, packages and modifiers; and stopping it.
#include "module/LoadedModule.h"

#include "module/ChannelSetup.h"
#include "module/ModuleTool.h"
#include "refhost/Commands.h"
#include "refhost/LibraryFile.h"
#include "refhost/ToolHost.h"

#include <algorithm>
#include <cstring>
#include <dlfcn.h>
#include <sstream>

namespace refhost {
namespace {

// No module has so many; a count beyond it is no count.
constexpr std::uint32_t kTagLimit = 100000;

#if defined(__SANITIZE_ADDRESS__)
constexpr bool kKeepsLibraries = true;
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
constexpr bool kKeepsLibraries = true;
#else
constexpr bool kKeepsLibraries = false;
#endif
#else
constexpr bool kKeepsLibraries = false;
#endif

std::vector<std::string> words(const std::string& text)
{
    std::istringstream in(text);
    std::vector<std::string> list;
    for (std::string word; in >> word;)
        list.push_back(word);
    return list;
}

std::string valueOf(const std::vector<std::pair<std::string, std::string>>& description, std::string_view key)
{
    for (const auto& [one, value] : description) {
        if (one == key)
            return value;
    }
    return {};
}

/// Whether two lists declare the same channels.
bool sameChannels(const std::vector<ChannelDefinition>& a, const ChannelDefinition* b, std::size_t count)
{
    return std::equal(
        a.begin(), a.end(), b, b + count, [](const ChannelDefinition& left, const ChannelDefinition& right) {
            return left.name == right.name && left.type == right.type
                && left.defaultNumber == right.defaultNumber && left.defaultInteger == right.defaultInteger;
        });
}

} // namespace

ResultOf<std::unique_ptr<Library>> Library::open(const std::string& path)
{
    using Answer = ResultOf<std::unique_ptr<Library>>;
    if (Result whole = checkLibraryFile(path); !whole.ok())
        return Answer::failure(std::move(whole.message));
    // A bare name would be looked for in the system's folders.
    const std::string place = path.find('/') == std::string::npos ? "./" + path : path;
    void* handle = dlopen(place.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (!handle) {
        const char* why = dlerror();
        return Answer::failure(
            "'" + path + "' is no module that can be loaded here: " + (why ? why : "no reason") + ".");
    }
    Answer answer;
    answer.value.reset(new Library(handle));
    return answer;
}

Library::~Library()
{
    // A leak report needs the library's code to name what leaked.
    if (!kKeepsLibraries)
        dlclose(m_Handle);
}

void* Library::find(const char* name) const { return dlsym(m_Handle, name); }

LoadedModule::LoadedModule(HostBinding& binding, std::string name, std::unique_ptr<Library> library)
    : m_Binding(binding), m_Name(std::move(name)), m_Library(std::move(library))
{
}

LoadedModule::~LoadedModule() { stop(); }

CZxObject LoadedModule::makeServer(const char* name, const ZxId& interfaceId, zxresult& result) const
{
    ZxObject* made = nullptr;
    CZxObject object;
    result = m_Module.call<&ZxModuleTable::server>(name, &interfaceId, &made);
    if (succeeded(result) && !made)
        result = kZxFailure;
    if (succeeded(result))
        object.adopt(made);
    return object;
}

Result LoadedModule::start(ZxModuleEntry entry)
{
    const PhaseScope phase(m_Binding, kLoadPhase);
    CZxObject first;
    first.adopt(entry());
    if (!first)
        return Result::failure("The module '" + m_Name + "' can't start: its entry gave nothing.");
    if (failed(m_Module.query(first.object(), kZxIdModule)))
        return Result::failure("The module '" + m_Name + "' can't be used: its entry gave no module object.");
    CZxLocalize<ZxNeedContextTable> needsContext;
    if (succeeded(needsContext.query(first.object(), kZxIdNeedContext))) {
        m_Context = &m_Binding.make<ContextObject>();
        m_Context->setKept(true);
        const zxresult result = needsContext.call<&ZxNeedContextTable::setContext>(m_Context->face());
        m_Context->releaseReference();
        if (failed(result))
            return Result::failure("The module '" + m_Name + "' can't start: it refuses the context with "
                                   + resultText(result) + ".");
    }
    if (Result listed = listServers(); !listed.ok())
        return listed;
    if (Result prepared = prepareServers(); !prepared.ok())
        return prepared;
    if (Result registered = registerPackages(); !registered.ok())
        return registered;
    if (Result registered = registerCommands(); !registered.ok())
        return registered;
    if (Result registered = registerTools(); !registered.ok())
        return registered;
    for (const auto& package : m_Packages)
        m_Binding.instances().addServer(*package);
    for (const auto& modifier : m_Modifiers)
        Modifiers::of(m_Binding.host()).add(modifier);
    m_Binding.instances().makeExpected();
    return {};
}

Result LoadedModule::listServers()
{
    CZxLocalize<ZxTagDescriptionTable> tags;
    uint32_t count = 0;
    if (failed(tags.query(m_Module.object(), kZxIdTagDescription)))
        return Result::failure("The module '" + m_Name + "' can't be used: it doesn't list its servers.");
    if (const zxresult result = tags.call<&ZxTagDescriptionTable::tagCount>(&count);
        failed(result) || count > kTagLimit)
        return Result::failure("The module '" + m_Name
                               + "' can't be used: its list of servers can't be read.");
    for (uint32_t i = 0; i < count; ++i) {
        const char* key = nullptr;
        const char* value = nullptr;
        const ZxId* interfaceId = nullptr;
        const zxresult result = tags.call<&ZxTagDescriptionTable::tag>(i, &key, &value, &interfaceId);
        if (failed(result) || !key || !value || !interfaceId)
            return Result::failure("The module '" + m_Name + "' can't be used: tag " + std::to_string(i)
                                   + " of its servers can't be read.");
        if (std::strcmp(key, "server") == 0)
            m_Servers.push_back({value, *interfaceId});
    }
    return {};
}

Result LoadedModule::readDescription(const std::string& server, ZxObject* object,
                                     Description& description) const
{
    CZxLocalize<ZxStaticDescTable> facts;
    if (failed(facts.query(object, kZxIdStaticDesc)))
        return {}; // a server without facts
    uint32_t count = 0;
    if (failed(facts.call<&ZxStaticDescTable::tagCount>(&count)) || count > kTagLimit)
        return Result::failure(at(server) + "its description can't be read.");
    for (uint32_t i = 0; i < count; ++i) {
        const char* key = nullptr;
        const char* value = nullptr;
        if (failed(facts.call<&ZxStaticDescTable::tag>(i, &key, &value)) || !key || !value)
            return Result::failure(at(server) + "tag " + std::to_string(i)
                                   + " of its description can't be read.");
        description.emplace_back(key, value);
    }
    return {};
}

Result LoadedModule::prepareServers()
{
    for (const ServerInfo& info : m_Servers) {
        const bool isPackage = info.interfaceId == kZxIdPackage, isCommand = info.interfaceId == kZxIdCommand;
        const bool isTool = info.interfaceId == kZxIdTool;
        if (!isPackage && !isCommand && !isTool && !(info.interfaceId == kZxIdEvalModifier))
            continue; // for another part of the host
        zxresult result = kZxOk;
        CZxObject object = makeServer(info.name.c_str(), info.interfaceId, result);
        if (failed(result))
            return Result::failure(at(info.name) + "it can't be made: " + resultText(result) + ".");
        Result prepared = isPackage ? preparePackage(info, std::move(object))
            : isCommand             ? prepareCommand(info, object)
            : isTool                ? prepareTool(info, object)
                                    : prepareModifier(info, std::move(object));
        if (!prepared.ok())
            return prepared;
    }
    return {};
}

Result LoadedModule::preparePackage(const ServerInfo& info, CZxObject object)
{
    Description description;
    if (Result read = readDescription(info.name, object.object(), description); !read.ok())
        return read;
    NewPackage package;
    package.super = valueOf(description, "super");
    package.server = std::make_unique<PackageServer>();
    package.server->name = info.name;
    (void)package.server->channelUI.query(object.object(), kZxIdChannelUI);
    package.server->object.adopt(object.detach());
    const HeldObject setup(m_Binding.make<AddChannelObject>());
    if (const zxresult result = package.server->object.call<&ZxPackageTable::setupChannels>(setup.face());
        failed(result))
        return Result::failure(at(info.name) + "its channels can't be set up: " + resultText(result) + ".");
    auto channels = setup.object().definitions();
    if (!channels.ok())
        return Result::failure(at(info.name) + channels.message);
    package.channels = std::move(channels.value);
    m_NewPackages.push_back(std::move(package));
    return {};
}

Result LoadedModule::prepareModifier(const ServerInfo& info, CZxObject object)
{
    Description description;
    if (Result read = readDescription(info.name, object.object(), description); !read.ok())
        return read;
    m_Modifiers.push_back(std::make_shared<ModuleModifier>(
        m_Binding, info.name, std::move(object), words(valueOf(description, "modifier.typeList")),
        words(valueOf(description, "modifier.graphList"))));
    return {};
}

Result LoadedModule::prepareCommand(const ServerInfo& info, const CZxObject& object)
{
    auto made = ModuleCommand::make(m_Binding, *this, info.name, object);
    if (!made.ok())
        return Result::failure(at(info.name) + made.message);
    m_NewCommands.push_back(std::move(made.value));
    return {};
}

Result LoadedModule::prepareTool(const ServerInfo& info, const CZxObject& object)
{
    CZxLocalize<ZxToolModelTable> model;
    if (failed(model.query(object.object(), kZxIdToolModel)))
        return Result::failure(at(info.name) + "it can't be handled: it has no tool model.");
    CZxLocalize<ZxToolTable> tool;
    uint32_t task = 0;
    if (failed(tool.query(object.object(), kZxIdTool)) || failed(tool.call<&ZxToolTable::task>(&task)))
        return Result::failure(at(info.name) + "it doesn't say what kind of tool it is.");
    if (task != kGestureTask) {
        m_Binding.host().tell(MessageLevel::Warning,
                              at(info.name) + "it is a tool of the kind '" + tagText(task)
                                  + "', for which there are no gestures here. It is left out.");
        return {};
    }
    m_NewTools.push_back(info.name);
    return {};
}

Result LoadedModule::registerTools()
{
    for (const std::string& name : m_NewTools) {
        auto maker = std::make_shared<ModuleToolMaker>(m_Binding, *this, name);
        if (Result added = ToolHost::of(m_Binding.host()).add(std::move(maker)); !added.ok())
            return Result::failure(at(name) + added.message);
        m_Tools.push_back(name);
    }
    m_NewTools.clear();
    return {};
}

Result LoadedModule::registerCommands()
{
    for (std::unique_ptr<ModuleCommand>& command : m_NewCommands) {
        const std::string name = command->name();
        if (Result added = Commands::of(m_Binding.host()).add(std::move(command)); !added.ok())
            return Result::failure(at(name) + added.message);
        m_Commands.push_back(name);
    }
    m_NewCommands.clear();
    return {};
}

/// A type may derive from one that comes later in the list.
Result LoadedModule::registerPackages()
{
    Host& host = m_Binding.host();
    std::vector<NewPackage> waiting = std::move(m_NewPackages);
    m_NewPackages.clear();
    while (!waiting.empty()) {
        std::vector<NewPackage> next;
        const std::size_t before = waiting.size();
        for (NewPackage& package : waiting) {
            if (!package.super.empty() && !host.findType(std::string_view(package.super))) {
                next.push_back(std::move(package));
                continue;
            }
            if (Result registered = registerPackage(package); !registered.ok())
                return registered;
            m_Packages.push_back(std::move(package.server));
        }
        if (next.size() == before)
            return Result::failure(at(next.front().server->name) + "it derives from '" + next.front().super
                                   + "', which is no item type.");
        waiting = std::move(next);
    }
    return {};
}

/// What the module registered when it was loaded before stays known, and must be the same now.
Result LoadedModule::registerPackage(NewPackage& package)
{
    Host& host = m_Binding.host();
    const std::string& name = package.server->name;
    const Result differs =
        Result::failure(at(name) + "it was registered before with other channels. Restart the program.");
    if (package.super.empty()) {
        if (const Package* known = host.findPackage(name); known && known->origin() == m_Name) {
            const auto& old = known->layout().definitions();
            return sameChannels(package.channels, old.data(), old.size()) ? Result{} : differs;
        }
        const auto made = host.registerPackage(name, m_Name, std::move(package.channels));
        return made.ok() ? Result{} : Result::failure(at(name) + made.message);
    }
    if (const ItemType* known = host.findType(std::string_view(name)); known && known->origin() == m_Name) {
        const auto& old = known->layout().definitions();
        const std::size_t inherited =
            static_cast<std::size_t>(known->base() ? known->base()->layout().count() : 1);
        return known->base() && known->base()->name() == package.super
                && sameChannels(package.channels, old.data() + inherited, old.size() - inherited)
            ? Result{}
            : differs;
    }
    const auto made = host.registerType(name, package.super, m_Name, std::move(package.channels));
    return made.ok() ? Result{} : Result::failure(at(name) + made.message);
}

void LoadedModule::stop()
{
    Commands& commands = Commands::of(m_Binding.host());
    for (const std::string& name : m_Commands) {
        if (const Command* command = commands.find(name))
            m_Binding.commandGone(*command);
        (void)commands.remove(name);
    }
    m_Commands.clear();
    m_NewCommands.clear();
    if (auto* tools = m_Binding.host().attachments().find<ToolHost>()) {
        for (const std::string& name : m_Tools)
            tools->remove(name);
    }
    m_Tools.clear();
    m_NewTools.clear();
    for (const auto& modifier : m_Modifiers)
        Modifiers::of(m_Binding.host()).remove(*modifier);
    for (const auto& package : m_Packages)
        m_Binding.instances().removeServer(*package);
    const PhaseScope phase(m_Binding, kLoadPhase);
    m_Modifiers.clear();
    m_Packages.clear();
    m_NewPackages.clear();
    m_Servers.clear();
    if (m_Context) {
        CZxLocalize<ZxNeedContextTable> needsContext;
        if (succeeded(needsContext.query(m_Module.object(), kZxIdNeedContext)))
            (void)needsContext.call<&ZxNeedContextTable::setContext>(nullptr);
        m_Binding.dispose(*std::exchange(m_Context, nullptr));
    }
    m_Module.clear();
}

} // namespace refhost
