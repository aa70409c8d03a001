// SPDX-License-Identifier: MIT
// The host's side of the border to modules: which objects they hold, what they may call now, and what hangs
// on scenes and items for their sake.
#pragma once

#include "module/HostObject.h"
#include "refhost/Host.h"
#include "refhost/Modules.h"

#include <atomic>
#include <deque>
#include <functional>
#include <map>
#include <memory>
#include <mutex>
#include <string>
#include <string_view>
#include <thread>
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

/// What one thread is doing across the border, and how it counts.
struct BorderCalls {
    std::atomic<const HostBinding*> owner; ///< null once that has gone
    Phase phase = kEditPhase;
    Scene* scene = nullptr; ///< that is evaluated; null outside of that
    std::string trouble; ///< the first since the innermost account began
    std::atomic<std::uint64_t> count = 0; ///< host calls; written by the thread alone
    std::uint64_t failAt = 0;
};

/// Threads may call at the same time, each about scenes of its own; what belongs to a scene hangs on it, and
/// what belongs to the calls of a thread on that.
class HostBinding final : public HostListener {
public:
    explicit HostBinding(Host& host);
    ~HostBinding() override;

    Host& host() const { return m_Host; }
    PackageInstances& instances() { return *m_Instances; }
    /// The matrices that nodes of the scene are handed.
    const std::shared_ptr<SlotMatrices>& matrices(Scene& scene);

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

    /// Those of the calling thread.
    BorderCalls& calls() const
    {
        BorderCalls* last = lastCalls();
        return last && last->owner.load(std::memory_order_relaxed) == this ? *last : findCalls();
    }
    Phase phase() const { return calls().phase; }
    /// The scene that the calling thread's calls are about when none is named, and its desk.
    Scene* currentScene() const;
    Desk& desk() const;
    /// Of all threads.
    std::uint64_t callCount() const;
    /// Counts calls of this thread.
    void failCall(std::uint64_t n);
    void noteOverRelease(const HostObject& object);
    void noteNull(const HostObject& object);
    std::uint64_t nullCount() const { return m_Nulls; }
    /// The host could not do what a module asked of it; a command that runs now can't be trusted any more.
    void noteTrouble(std::string_view why)
    {
        if (std::string& trouble = calls().trouble; trouble.empty())
            trouble = why;
    }
    /// Spawned objects of a command that goes are refused from now on.
    void commandGone(const Command& command);

    // Scenes

    SceneWatch& watch(Scene& scene);
    void addWatch(SceneWatch& watch);
    void removeWatch(SceneWatch& watch);
    /// Calls `visit` with what watches each scene; for a thread that is alone.
    void forEachWatch(const std::function<void(SceneWatch&)>& visit) const;
    void itemGone(const Item& item);
    void sceneChanged(const Scene& scene);
    void sceneGone(const Scene& scene);
    void sceneAdded(Scene& scene) override;
    void sceneClosing(Scene& scene) override;

    HostBinding(const HostBinding&) = delete;
    HostBinding& operator=(const HostBinding&) = delete;

private:
    friend class HostObject;

    static BorderCalls* lastCalls();
    BorderCalls& findCalls() const;
    void adopt(HostObject& object);
    void retire(HostObject& object);
    void unlink(HostObject& object);

    Host& m_Host;
    std::atomic<std::uint64_t> m_Nulls = 0;
    std::atomic<bool> m_ToldOverRelease = false;
    // Guards all that follows: references may be counted from any thread. Nothing that calls the module is
    // done under it but giving objects up.
    mutable std::recursive_mutex m_Mutex;
    mutable std::map<std::thread::id, std::shared_ptr<BorderCalls>> m_Threads;
    HostObject* m_First = nullptr;
    std::deque<std::unique_ptr<HostObject>> m_Retired;
    std::unordered_map<const Item*, ItemObject*> m_Items;
    std::unordered_map<const Scene*, SceneObject*> m_Scenes;
    std::vector<SceneWatch*> m_Watches;
    std::unique_ptr<PackageInstances> m_Instances;
};

/// A phase of the calling thread for the length of a block, and the scene that is evaluated in it.
class PhaseScope {
public:
    PhaseScope(HostBinding& binding, Phase phase, Scene* evaluated = nullptr)
        : m_Calls(binding.calls()),
          m_Former(std::exchange(m_Calls.phase, phase)),
          m_FormerScene(std::exchange(m_Calls.scene, evaluated))
    {
    }
    ~PhaseScope()
    {
        m_Calls.phase = m_Former;
        m_Calls.scene = m_FormerScene;
    }
    PhaseScope(const PhaseScope&) = delete;
    PhaseScope& operator=(const PhaseScope&) = delete;

private:
    BorderCalls& m_Calls;
    Phase m_Former;
    Scene* m_FormerScene;
};

/// What went wrong on the host's side in the calls that a module makes during a block; one block inside
/// another keeps its own account.
class TroubleScope {
public:
    explicit TroubleScope(HostBinding& binding)
        : m_Calls(binding.calls()), m_Former(std::exchange(m_Calls.trouble, {}))
    {
    }
    ~TroubleScope() { m_Calls.trouble = std::move(m_Former); }
    /// A sentence; empty when all went well.
    const std::string& trouble() const { return m_Calls.trouble; }
    TroubleScope(const TroubleScope&) = delete;
    TroubleScope& operator=(const TroubleScope&) = delete;

private:
    BorderCalls& m_Calls;
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
    BorderCalls& calls = m_Binding.calls();
    const std::uint64_t count = calls.count.load(std::memory_order_relaxed) + 1;
    calls.count.store(count, std::memory_order_relaxed);
    if (count == calls.failAt) {
        m_Binding.noteTrouble("A call to the host failed.");
        return kZxFailure;
    }
    if (m_Gone || references() == 0 || !(calls.phase & phases))
        return kZxNotAvailable;
    return kZxOk;
}

inline void HostObject::noteNull() const { m_Binding.noteNull(*this); }

/// A failed result in words, with its code.
std::string resultText(zxresult result);

} // namespace refhost
