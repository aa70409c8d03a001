// SPDX-License-Identifier: MIT
// Objects of the host as modules hold them: counted, refused in the wrong phase, and deaf once they are gone.
#pragma once

#include <glue/Result.h>
#include <glue/Thunk.h>

#include <atomic>
#include <cstdint>
#include <type_traits>

namespace refhost {

class HostBinding;
class Scene;

/// What the host is doing while a module's code runs; bits, so that a slot can allow several.
enum Phase : unsigned {
    kLoadPhase = 1,
    kEditPhase = 2,
    kEvalPhase = 4,
    kDrawPhase = 8,
    kAnyPhase = 15,
    kWritePhase = 16, ///< a slot that changes the scene or the selection, or runs commands
    kCommandPhase = kEditPhase | kWritePhase, ///< a module's command is being executed
};

/// One object with one interface. It lives in its binding: the last release retires it, which leaves memory
/// that can be called and refuses every call.
class HostObject {
public:
    virtual ~HostObject() = default;

    HostBinding& binding() const { return m_Binding; }
    ZxObject* face() { return &m_Face.host; }
    const char* interfaceName() const { return m_InterfaceName; }
    std::uint32_t references() const { return m_References.load(std::memory_order_relaxed); }
    /// Null for an object that belongs to no scene.
    const Scene* scene() const { return m_Scene; }

    void addReference() { m_References.fetch_add(1, std::memory_order_relaxed); }
    void releaseReference();
    /// What it stands for is gone: every call is refused from now on.
    virtual void markGone() { m_Gone = true; }
    /// Another interface of the same object; null when it has none such.
    virtual ZxObject* faceOf(const ZxId&) { return nullptr; }
    bool isGone() const { return m_Gone; }
    /// The host keeps it at hand while nobody holds a reference.
    bool isKept() const { return m_Kept; }
    void setKept(bool kept) { m_Kept = kept; }

    /// Whether a call may go on.
    zxresult enter(unsigned phases) const;
    /// A module passed null where something is needed.
    void noteNull() const;

    HostObject(const HostObject&) = delete;
    HostObject& operator=(const HostObject&) = delete;

    static zxresult query(ZxObject* self, const ZxId* id, ZxObject** object);
    static zxresult addRef(ZxObject* self);
    static zxresult release(ZxObject* self);
    static constexpr ZxObjectOps kOps = {.query = &query, .addRef = &addRef, .release = &release};

protected:
    HostObject(HostBinding& binding, const Scene* scene, const ZxId& id, const char* interfaceName,
               const ZxObjectOps& table, void* self)
        : m_Binding(binding),
          m_Scene(scene),
          m_InterfaceName(interfaceName),
          m_Id(&id),
          m_Face{{&table}, self, this}
    {
    }

private:
    friend class HostBinding;

    HostBinding& m_Binding;
    const Scene* m_Scene;
    const char* m_InterfaceName;
    const ZxId* m_Id;
    ZxFace m_Face;
    std::atomic<std::uint32_t> m_References{1};
    bool m_Gone = false; // written while nobody else can use the object
    bool m_Kept = false;
    bool m_Retired = false; // under the binding's lock
    HostObject* m_Previous = nullptr; // in the binding's list
    HostObject* m_Next = nullptr;
};

/// One more interface of an object: a face of its own, with the references and the fate of the whole.
class ObjectPart {
public:
    ZxObject* face() { return &m_Face.host; }
    HostObject& owner() const { return m_Owner; }
    HostBinding& binding() const { return m_Owner.binding(); }
    zxresult enter(unsigned phases) const { return m_Owner.enter(phases); }
    void noteNull() const { m_Owner.noteNull(); }

    ObjectPart(const ObjectPart&) = delete;
    ObjectPart& operator=(const ObjectPart&) = delete;

protected:
    /// `self` is the part as the class that the table's slots name.
    ObjectPart(HostObject& owner, const ZxObjectOps& table, void* self)
        : m_Owner(owner), m_Face{{&table}, self, &owner}
    {
    }
    ~ObjectPart() = default;

private:
    HostObject& m_Owner;
    ZxFace m_Face;
};

namespace detail {

inline void clearResult(ZxObject** object)
{
    if (object)
        *object = nullptr;
}
template <class T>
void clearResult(const T&)
{
}

template <class T>
bool isNull(const T& argument)
{
    if constexpr (std::is_pointer_v<T>)
        return argument == nullptr;
    else
        return false;
}

} // namespace detail

/// What a slot lets pass besides what its operation checks itself.
enum class Nulls : bool { Refused, Allowed };

/// Slot function for operation `Op` of T: the checks that every host call has, then the operation.
template <class T, auto Op, unsigned Phases, Nulls nulls>
struct HostSlot;

template <class T, class... A, zxresult (T::*Op)(A...), unsigned Phases, Nulls nulls>
struct HostSlot<T, Op, Phases, nulls> {
    static zxresult call(ZxObject* self, A... arguments) noexcept
    {
        (detail::clearResult(arguments), ...);
        if (const zxresult refused = objectBehind<T>(self)->enter(Phases); failed(refused))
            return refused;
        if constexpr (nulls == Nulls::Refused) {
            if ((detail::isNull(arguments) || ...)) {
                objectBehind<T>(self)->noteNull();
                return kZxInvalidArgument;
            }
        }
        return Thunk<T, Op>::call(self, arguments...);
    }
};

template <class T, auto Op, unsigned Phases = kAnyPhase, Nulls nulls = Nulls::Refused>
inline constexpr auto hostSlot = &HostSlot<T, Op, Phases, nulls>::call;

/// The T behind an object that a module passed in; null for null, for an object of somebody else, and for one
/// of another host.
template <class T>
T* hostObject(ZxObject* object, const HostBinding& binding)
{
    if (!object || object->table != &T::kTable.object)
        return nullptr;
    T* found = objectBehind<T>(object);
    return &found->binding() == &binding ? found : nullptr;
}

} // namespace refhost
