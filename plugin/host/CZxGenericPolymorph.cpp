// SPDX-License-Identifier: MIT
// Objects with several faces and one count of references.
#include "host/CZxGenericPolymorph.h"

#include <glue/Result.h>

#include <atomic>
#include <new>
#include <utility>
#include <vector>

/// What stands behind the faces of one object.
struct CZxGenericPolymorph::Instance {
    std::atomic<uint32_t> references{1};
    CZxGenericPolymorph* maker = nullptr;
    void* object = nullptr;
    std::shared_ptr<HostTie> tie;
    std::vector<ZxFace> faces; // one for each interface; never resized, since the host holds their addresses

    static Instance* behind(ZxObject* self)
    {
        return static_cast<Instance*>(reinterpret_cast<ZxFace*>(self)->owner);
    }
};

namespace {

// Of the running call; a plain pointer, so that a thread that ends runs nothing in a module that may be gone.
constinit thread_local const std::shared_ptr<HostTie>* tieAtWork = nullptr;

} // namespace

TieScope::TieScope(ZxObject* self) noexcept
    : m_Former(std::exchange(tieAtWork, &CZxGenericPolymorph::Instance::behind(self)->tie))
{
}

TieScope::~TieScope() { tieAtWork = m_Former; }

const std::shared_ptr<HostTie>& TieScope::current()
{
    static const std::shared_ptr<HostTie> none;
    return tieAtWork ? *tieAtWork : none;
}

std::shared_ptr<HostTie> CZxGenericPolymorph::tieOfNext() { return TieScope::current(); }

CZxGenericPolymorph::CZxGenericPolymorph() = default;

CZxGenericPolymorph::~CZxGenericPolymorph()
{
    while (m_First)
        delete std::exchange(m_First, m_First->next);
}

void CZxGenericPolymorph::addInterface(std::unique_ptr<CZxInterface> adapter)
{
    adapter->setObjectOps({.query = &query, .addRef = &addRef, .release = &release});
    CZxInterface* added = adapter.release();
    (m_Last ? m_Last->next : m_First) = added;
    m_Last = added;
    ++m_Count;
}

bool CZxGenericPolymorph::offers(const ZxId& id) const
{
    for (const CZxInterface* i = m_First; i; i = i->next)
        if (i->id() == id)
            return true;
    return false;
}

const ZxId* CZxGenericPolymorph::firstInterface() const { return m_First ? &m_First->id() : nullptr; }

void CZxGenericPolymorph::setName(const char* literal)
{
    if (!m_Name)
        m_Name = literal;
}

ZxObject* CZxGenericPolymorph::create(void** object)
{
    try {
        auto instance = std::make_unique<Instance>();
        instance->maker = this;
        instance->tie = tieOfNext();
        instance->faces.reserve(m_Count);
        instance->object = make();
        for (const CZxInterface* i = m_First; i; i = i->next)
            instance->faces.push_back({{i->table()}, instance->object, instance.get()});
        if (object)
            *object = instance->object;
        return &instance.release()->faces.front().host;
    } catch (...) {
        return nullptr;
    }
}

zxresult CZxGenericPolymorph::query(ZxObject* self, const ZxId* id, ZxObject** object)
{
    Instance* instance = Instance::behind(self);
    *object = nullptr;
    std::size_t index = 0;
    if (!(*id == kZxIdObject)) {
        const CZxInterface* found = instance->maker->m_First;
        for (; found && !(found->id() == *id); found = found->next)
            ++index;
        if (!found)
            return kZxNotFound;
    }
    *object = &instance->faces[index].host;
    instance->references.fetch_add(1, std::memory_order_relaxed);
    return kZxOk;
}

zxresult CZxGenericPolymorph::addRef(ZxObject* self)
{
    Instance::behind(self)->references.fetch_add(1, std::memory_order_relaxed);
    return kZxOk;
}

zxresult CZxGenericPolymorph::release(ZxObject* self)
{
    Instance* instance = Instance::behind(self);
    if (instance->references.fetch_sub(1, std::memory_order_acq_rel) == 1) {
        const TieScope scope(self);
        instance->maker->destroy(instance->object);
        delete instance;
    }
    return kZxOk;
}
