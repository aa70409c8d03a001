// SPDX-License-Identifier: MIT
// One module: its library, its module object and its servers.
#pragma once

#include "module/EvaluationObjects.h"
#include "module/HostBinding.h"
#include "module/ModuleCommand.h"
#include "module/PackageInstances.h"
#include "module/ServiceObjects.h"

#include <glue/Reference.h>
#include <zx/ZxModule.h>
#include <zx/ZxPackage.h>

#include <memory>
#include <string>
#include <utility>
#include <vector>

namespace refhost {

/// A shared library, closed when it goes.
class Library {
public:
    /// The message says why the file is no library.
    static ResultOf<std::unique_ptr<Library>> open(const std::string& path);
    ~Library();
    /// Null when the library exports no such function.
    void* find(const char* name) const;

    Library(const Library&) = delete;
    Library& operator=(const Library&) = delete;

private:
    explicit Library(void* handle) : m_Handle(handle) { }
    void* m_Handle;
};

class LoadedModule {
public:
    LoadedModule(HostBinding& binding, std::string name, std::unique_ptr<Library> library);
    ~LoadedModule();

    const std::string& name() const { return m_Name; }
    const std::vector<ServerInfo>& servers() const { return m_Servers; }
    /// A new object of a server; empty, with the result, when the module can't make one.
    CZxObject makeServer(const char* name, const ZxId& interfaceId, zxresult& result) const;

    /// Registers everything that the module offers.
    Result start(ZxModuleEntry entry);
    /// Gives everything back.
    void stop();

private:
    struct NewPackage {
        std::unique_ptr<PackageServer> server;
        std::string super; ///< of an item type
        std::vector<ChannelDefinition> channels;
    };
    using Description = std::vector<std::pair<std::string, std::string>>;

    Result listServers();
    Result readDescription(const std::string& server, ZxObject* object, Description& description) const;
    Result prepareServers();
    Result preparePackage(const ServerInfo& info, CZxObject object);
    Result prepareModifier(const ServerInfo& info, CZxObject object);
    Result prepareCommand(const ServerInfo& info, const CZxObject& object);
    Result prepareTool(const ServerInfo& info, const CZxObject& object);
    Result registerTools();
    Result registerPackages();
    Result registerCommands();
    Result registerPackage(NewPackage& package);
    std::string at(const std::string& server) const { return "'" + m_Name + "', server '" + server + "': "; }

    HostBinding& m_Binding;
    std::string m_Name;
    std::unique_ptr<Library> m_Library; // goes last
    ContextObject* m_Context = nullptr;
    CZxLocalize<ZxModuleTable> m_Module;
    std::vector<ServerInfo> m_Servers;
    std::vector<NewPackage> m_NewPackages;
    std::vector<std::unique_ptr<PackageServer>> m_Packages;
    std::vector<std::shared_ptr<ModuleModifier>> m_Modifiers;
    std::vector<std::unique_ptr<ModuleCommand>> m_NewCommands;
    std::vector<std::string> m_Commands; // those that are in the host's list
    std::vector<std::string> m_NewTools, m_Tools; // the same of tools
};

} // namespace refhost
