// SPDX-License-Identifier: MIT
// The host's side of the border to modules: which objects they hold, what they may call now, and what hangs
// on scenes and items for their sake.
#pragma once

#include "module/HostObject.h"
#include "refhost/Host.h"
#include "refhost/Modules.h"

#include <deque>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <unordered_map>
#include <utility>
#include <vector>

namespace refhost {

class Command;
class Item;
class ItemObject;
class PackageInstances;
class SceneObject;
class SceneWatch;
class SlotMatrices;

class HostBinding final : public HostListener {
public:
    explicit HostBinding(Host& host);
    ~HostBinding() override;

    Host& host() const { return m_Host; }
    PackageInstances& instances() { return *m_Instances; }
    SlotMatrices& matrices() { return *m_Matrices; }

    // Objects

    /// A new object with one reference, which is the caller's.
    template <class T, class... A>
    T& make(A&&... arguments)
    {
        T* object = new T(*this, std::forward<A>(arguments)...);
        adopt(*object);
        return *object;
    }
    /// The one object of an item, with a reference for the caller.
    ItemObject& itemObject(Item& item);
    /// The one object of a scene, with a reference for the caller.
    SceneObject& sceneObject(Scene& scene);
    /// The owner of a kept object gives it up.
    void dispose(HostObject& object);
    std::vector<LiveReferences> liveReferences() const;
    /// Refuses all that is still held, after the last module went.
    void markAllGone();

    // Phases and calls

    Phase phase() const { return m_Phase; }
    /// Counts a call; false when it is the one that must fail.
    bool countCall() { return ++m_Calls != m_FailAt; }
    std::uint64_t callCount() const { return m_Calls; }
    void failCall(std::uint64_t n) { m_FailAt = n == 0 ? 0 : m_Calls + n; }
    void noteOverRelease(const HostObject& object);
    void noteNull(const HostObject& object);
    std::uint64_t nullCount() const { return m_Nulls; }
    /// The host could not do what a module asked of it; a command that runs now can't be trusted any more.
    void noteTrouble(std::string_view why);
    /// Spawned objects of a command that goes are refused from now on.
    void commandGone(const Command& command);

    // Scenes

    void watch(Scene& scene);
    void itemGone(const Item& item);
    void sceneChanged(const Scene& scene);
    void sceneGone(const Scene& scene);
    void sceneAdded(Scene& scene) override;
    void sceneClosing(Scene& scene) override;

    HostBinding(const HostBinding&) = delete;
    HostBinding& operator=(const HostBinding&) = delete;

private:
    friend class HostObject;
    friend class PhaseScope;
    friend class SceneWatch;
    friend class TroubleScope;

    void adopt(HostObject& object);
    void retire(HostObject& object);
    void unlink(HostObject& object);

    Host& m_Host;
    Phase m_Phase = kEditPhase;
    std::uint64_t m_Calls = 0;
    std::uint64_t m_FailAt = 0;
    std::uint64_t m_Nulls = 0;
    bool m_ToldOverRelease = false;
    std::string m_Trouble; // the first since the scope began
    mutable std::recursive_mutex m_Mutex; // references may be counted from any thread
    HostObject* m_First = nullptr;
    std::deque<std::unique_ptr<HostObject>> m_Retired;
    std::unordered_map<const Item*, ItemObject*> m_Items;
    std::unordered_map<const Scene*, SceneObject*> m_Scenes;
    std::vector<SceneWatch*> m_Watches;
    std::unique_ptr<PackageInstances> m_Instances;
    std::unique_ptr<SlotMatrices> m_Matrices;
};

/// A phase for the length of a block.
class PhaseScope {
public:
    PhaseScope(HostBinding& binding, Phase phase) : m_Binding(binding), m_Former(binding.m_Phase)
    {
        binding.m_Phase = phase;
    }
    ~PhaseScope() { m_Binding.m_Phase = m_Former; }
    PhaseScope(const PhaseScope&) = delete;
    PhaseScope& operator=(const PhaseScope&) = delete;

private:
    HostBinding& m_Binding;
    Phase m_Former;
};

/// What went wrong on the host's side in the calls that a module makes during a block; one block inside
/// another keeps its own account.
class TroubleScope {
public:
    explicit TroubleScope(HostBinding& binding)
        : m_Binding(binding), m_Former(std::exchange(binding.m_Trouble, {}))
    {
    }
    ~TroubleScope() { m_Binding.m_Trouble = std::move(m_Former); }
    /// A sentence; empty when all went well.
    const std::string& trouble() const { return m_Binding.m_Trouble; }
    TroubleScope(const TroubleScope&) = delete;
    TroubleScope& operator=(const TroubleScope&) = delete;

private:
    HostBinding& m_Binding;
    std::string m_Former;
};

/// A reference of the host's own to one of its objects, for the length of a call.
template <class T>
class HeldObject {
public:
    explicit HeldObject(T& object) : m_Object(object) { }
    ~HeldObject() { m_Object.releaseReference(); }
    ZxObject* face() const { return m_Object.face(); }
    T& object() const { return m_Object; }
    HeldObject(const HeldObject&) = delete;
    HeldObject& operator=(const HeldObject&) = delete;

private:
    T& m_Object;
};

inline zxresult HostObject::enter(unsigned phases) const
{
    if (!m_Binding.countCall()) {
        m_Binding.noteTrouble("A call to the host failed.");
        return kZxFailure;
    }
    if (m_Gone || references() == 0 || !(m_Binding.phase() & phases))
        return kZxNotAvailable;
    return kZxOk;
}

inline void HostObject::noteNull() const { m_Binding.noteNull(*this); }

/// A failed result in words, with its code.
std::string resultText(zxresult result);

} // namespace refhost
