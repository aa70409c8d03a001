// SPDX-License-Identifier: MIT
// The server list and the module's answers to the host.
#include "host/CZxThisModule.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr uint32_t kGrowth = 20;

/// Grows one of the parallel arrays, keeping its entries; false when there is no memory.
template <class T>
bool Grow(T*& array, uint32_t capacity)
{
    T* grown = static_cast<T*>(std::realloc(array, capacity * sizeof(T)));
    if (grown)
        array = grown;
    return grown != nullptr;
}

} // namespace

CZxThisModule::CZxThisModule()
{
    addInterface(std::make_unique<CZxIfc_Module<CZxThisModule>>());
    addInterface(std::make_unique<CZxIfc_TagDescription<CZxThisModule>>());
    addInterface(std::make_unique<CZxIfc_NeedContext<CZxThisModule>>());
}

CZxThisModule::~CZxThisModule()
{
    removeServers();
    std::free(m_Polymorphs);
    std::free(m_Names);
    std::free(m_Interfaces);
    // A context that the host did not take back is let go, not released: when a program ends, the host's
    // objects may be gone before the module is.
    m_Untied.abandonContext();
}

CZxThisModule& CZxThisModule::instance()
{
    static CZxThisModule module;
    return module;
}

void CZxThisModule::AddServer(const char* name, std::unique_ptr<CZxGenericPolymorph> polymorph)
{
    if (m_Count == m_Capacity) {
        const uint32_t capacity = m_Capacity + kGrowth;
        if (!Grow(m_Polymorphs, capacity) || !Grow(m_Names, capacity) || !Grow(m_Interfaces, capacity)) {
            removeServers();
            throw kZxOutOfMemory;
        }
        m_Capacity = capacity;
    }
    polymorph->setName(name);
    m_Names[m_Count] = name;
    m_Interfaces[m_Count] = polymorph->firstInterface();
    m_Polymorphs[m_Count++] = polymorph.release();
}

void CZxThisModule::removeServers()
{
    while (m_Count > 0)
        delete m_Polymorphs[--m_Count];
}

zxresult CZxThisModule::server(const char* name, const ZxId* interfaceId, ZxObject** server)
{
    *server = nullptr;
    for (uint32_t i = 0; i < m_Count; ++i) {
        if (std::strcmp(m_Names[i], name) == 0 && *m_Interfaces[i] == *interfaceId) {
            *server = m_Polymorphs[i]->create();
            return *server ? kZxOk : kZxFailure;
        }
    }
    return kZxNotFound;
}

zxresult CZxThisModule::tagCount(uint32_t* count)
{
    *count = m_Count;
    return kZxOk;
}

zxresult CZxThisModule::tag(uint32_t index, const char** key, const char** value, const ZxId** interfaceId)
{
    if (index >= m_Count)
        return kZxOutOfRange;
    *key = "server";
    *value = m_Names[index];
    *interfaceId = m_Interfaces[index];
    return kZxOk;
}

zxresult CZxThisModule::setContext(ZxObject* context)
{
    const std::shared_ptr<HostTie>& tie = TieScope::current();
    return (tie ? *tie : m_Untied).setContext(context);
}
