// SPDX-License-Identifier: MIT
// The one module object: the list of servers, and what the host hands over when it loads the module.
#pragma once

#include "host/CZxGenericPolymorph.h"
#include "host/CZxModule.h"

/// Hosts of one process share it: each has a face of it, and objects made through that face go by the context
/// that this host gave.
class CZxThisModule final : public CZxImpl_Module,
                            public CZxImpl_TagDescription,
                            public CZxImpl_NeedContext,
                            public CZxGenericPolymorph {
public:
    CZxThisModule();
    ~CZxThisModule() override;

    /// The module's own; made by the first call and living as long as the module is loaded.
    static CZxThisModule& instance();

    /// Appends a server under `name`, a literal. When the list can't grow it is emptied, and kZxOutOfMemory
    /// thrown.
    void AddServer(const char* name, std::unique_ptr<CZxGenericPolymorph> polymorph);
    /// Makes the server of class T with the interfaces in the order given, and appends it.
    template <class T, template <class> class... Interface>
    void AddServer(const char* name)
    {
        AddServer(name, CZxPolymorph<T>::template with<Interface...>());
    }
    /// Makes the spawner of class T and keeps it for the plug-in's own use.
    template <class T, template <class> class... Interface>
    void addSpawner()
    {
        spawnerOf<T> = CZxPolymorph<T>::template with<Interface...>();
    }
    /// Drops all servers, as after a start that failed half-way.
    void removeServers();

    zxresult server(const char* name, const ZxId* interfaceId, ZxObject** server) override;
    zxresult tagCount(uint32_t* count) override;
    zxresult tag(uint32_t index, const char** key, const char** value, const ZxId** interfaceId) override;
    zxresult setContext(ZxObject* context) override;

protected:
    // Every object of the module's polymorph is the module itself, for a host of its own.
    void* make() override { return this; }
    void destroy(void*) noexcept override { }
    std::shared_ptr<HostTie> tieOfNext() override { return std::make_shared<HostTie>(); }

private:
    // Three parallel arrays, one entry a server.
    CZxGenericPolymorph** m_Polymorphs = nullptr;
    const char** m_Names = nullptr;
    const ZxId** m_Interfaces = nullptr;
    uint32_t m_Count = 0;
    uint32_t m_Capacity = 0;
    HostTie m_Untied; // for calls that come through no object of the module
};
