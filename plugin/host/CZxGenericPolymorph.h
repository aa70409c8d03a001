// SPDX-License-Identifier: MIT
// Servers and spawners: the makers of the objects that the host holds.
#pragma once

#include "host/HostTie.h"

#include <memory>

/// Factory of one class of object, with the interfaces that its objects offer in the order of adding.
class CZxGenericPolymorph {
public:
    CZxGenericPolymorph();
    virtual ~CZxGenericPolymorph();
    CZxGenericPolymorph(const CZxGenericPolymorph&) = delete;
    CZxGenericPolymorph& operator=(const CZxGenericPolymorph&) = delete;

    /// Appends an adapter and gives it the three common operations.
    void addInterface(std::unique_ptr<CZxInterface> adapter);
    /// Whether objects made here offer the interface.
    bool offers(const ZxId& id) const;
    /// Identifier of the interface added first; null before any was added.
    const ZxId* firstInterface() const;

    /// The server name; set once, and only the pointer is kept: a literal.
    const char* name() const { return m_Name; }
    void setName(const char* literal);

    /// A new object with one reference, seen through its first interface; null if it can't be made. `object`
    /// receives the implementing object.
    ZxObject* create(void** object = nullptr);

protected:
    /// Makes the implementing object; may throw.
    virtual void* make() = 0;
    virtual void destroy(void* object) noexcept = 0;
    /// What the next object is tied to: what the object at work is.
    virtual std::shared_ptr<HostTie> tieOfNext();

private:
    friend class TieScope;
    struct Instance;
    static zxresult query(ZxObject* self, const ZxId* id, ZxObject** object);
    static zxresult addRef(ZxObject* self);
    static zxresult release(ZxObject* self);

    CZxInterface* m_First = nullptr;
    CZxInterface* m_Last = nullptr;
    uint32_t m_Count = 0;
    const char* m_Name = nullptr;
};

/// The factory of class T.
template <class T>
class CZxPolymorph final : public CZxGenericPolymorph {
public:
    template <template <class> class... Interface>
    static std::unique_ptr<CZxPolymorph> with()
    {
        auto polymorph = std::make_unique<CZxPolymorph>();
        (polymorph->addInterface(std::make_unique<Interface<T>>()), ...);
        return polymorph;
    }
    /// As `create`, with the implementing object as what it is. Throws kZxFailure if it can't be made.
    ZxObject* spawn(T** object)
    {
        void* made = nullptr;
        ZxObject* face = create(&made);
        if (!face)
            throw kZxFailure;
        *object = static_cast<T*>(made);
        return face;
    }

protected:
    void* make() override { return new T; }
    void destroy(void* object) noexcept override { delete static_cast<T*>(object); }
};

/// The module's spawner of class T, which is asked for by nobody but the plug-in itself.
template <class T>
inline std::unique_ptr<CZxPolymorph<T>> spawnerOf;
