// SPDX-License-Identifier: MIT
// Holding objects of the other side: one reference, released when the holder goes or is bound anew.
#pragma once

#include "Result.h"

#include <type_traits>
#include <utility>

/// One reference to an object, or none.
class CZxObject {
public:
    CZxObject() = default;
    CZxObject(const CZxObject& other) : m_Object(other.m_Object)
    {
        if (m_Object)
            m_Object->table->addRef(m_Object);
    }
    CZxObject(CZxObject&& other) noexcept : m_Object(std::exchange(other.m_Object, nullptr)) { }
    CZxObject& operator=(CZxObject other) noexcept
    {
        std::swap(m_Object, other.m_Object);
        return *this;
    }
    ~CZxObject() { clear(); }

    /// Takes over a reference that someone handed out; null makes the holder empty.
    void adopt(ZxObject* object)
    {
        ZxObject* old = std::exchange(m_Object, object);
        if (old)
            old->table->release(old);
    }
    /// Adds a reference of its own to an object that stays someone else's.
    void share(ZxObject* object)
    {
        if (object)
            object->table->addRef(object);
        adopt(object);
    }
    void clear() { adopt(nullptr); }
    /// Gives the reference away; the holder is empty afterwards.
    ZxObject* detach() { return std::exchange(m_Object, nullptr); }

    ZxObject* object() const { return m_Object; }
    explicit operator bool() const { return m_Object != nullptr; }

private:
    ZxObject* m_Object = nullptr;
};

/// A reference to an object seen through one interface.
class CZxLocalizedObject : public CZxObject {
public:
    /// Asks any object for an interface; the holder is empty when the object has none such, or is null.
    zxresult query(ZxObject* from, const ZxId& id)
    {
        clear();
        if (!from)
            return kZxFailure;
        ZxObject* found = nullptr;
        const zxresult result = from->table->query(from, &id, &found);
        adopt(failed(result) ? nullptr : found);
        return result;
    }
};

/// Whether two holders, of whatever interfaces, hold one object.
inline bool IsSameObject(const CZxObject& a, const CZxObject& b)
{
    CZxLocalizedObject first, second;
    return succeeded(first.query(a.object(), kZxIdObject)) && succeeded(second.query(b.object(), kZxIdObject))
        && first.object() == second.object();
}

/// The same with the interface's table known, and the forwarding call.
template <class Table>
class CZxLocalize : public CZxLocalizedObject {
public:
    /// Calls a slot. A holder among the arguments stands for its object. kZxFailure when the holder or one
    /// among the arguments is empty: the other side is never handed nothing where it expects an object.
    template <auto Slot, class... A>
    zxresult call(A&&... arguments) const
    {
        if (!object() || (isEmpty(arguments) || ...))
            return kZxFailure;
        return (reinterpret_cast<const Table*>(object()->table)->*Slot)(
            object(), passed(std::forward<A>(arguments))...);
    }
    /// Calls a slot that hands out an object, and takes over its reference; empty when the call fails.
    template <auto Slot, class Wrapper, class... A>
    Wrapper fetch(A&&... arguments) const
    {
        ZxObject* found = nullptr;
        Wrapper wrapper;
        if (succeeded(call<Slot>(std::forward<A>(arguments)..., &found)))
            wrapper.adopt(found);
        return wrapper;
    }
    /// As `fetch`, but throws failures other than the answer that there is nothing. Empty when the holder is.
    template <auto Slot, class Wrapper, class... A>
    Wrapper fetchIfAny(A&&... arguments) const
    {
        ZxObject* found = nullptr;
        Wrapper wrapper;
        if (!object())
            return wrapper;
        if (const zxresult result = call<Slot>(std::forward<A>(arguments)..., &found); succeeded(result))
            wrapper.adopt(found);
        else if (!isAbsent(result))
            throw result;
        return wrapper;
    }

private:
    // A holder is what derives from CZxObject; all else passes as it is.
    template <class A>
    static constexpr bool isHolder = std::is_base_of_v<CZxObject, std::remove_cvref_t<A>>;
    template <class A>
    static bool isEmpty(const A& argument)
    {
        if constexpr (isHolder<A>)
            return !argument.object();
        else
            return false;
    }
    template <class A>
    static decltype(auto) passed(A&& argument)
    {
        if constexpr (isHolder<A>)
            return argument.object();
        else
            return std::forward<A>(argument);
    }
};
