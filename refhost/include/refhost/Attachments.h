// SPDX-License-Identifier: MIT
// Objects that other parts of the host hang on the host, on a desk or on a scene, found by their class.
#pragma once

#include <atomic>
#include <memory>
#include <mutex>
#include <typeindex>
#include <utility>

namespace refhost {

/// Holds at most one object per class; they go in the reverse order of coming. Threads may look for objects
/// and require them at the same time; `clear` is for one that is alone.
class Attachments {
public:
    Attachments() = default;
    ~Attachments() { clear(); }

    /// Null when no such object was attached.
    template <class T>
    T* find() const
    {
        const std::type_index type = typeid(T);
        for (const Entry* entry = m_Last.load(std::memory_order_acquire); entry; entry = entry->former) {
            if (entry->type == type)
                return static_cast<T*>(entry->object.get());
        }
        return nullptr;
    }
    /// The object there is, or a new one made of the arguments.
    template <class T, class... A>
    T& require(A&&... arguments)
    {
        if (T* found = find<T>())
            return *found;
        const std::scoped_lock lock(m_Making); // recursive: making one may require another
        if (T* found = find<T>())
            return *found;
        auto made = std::make_shared<T>(std::forward<A>(arguments)...);
        T& object = *made;
        Entry* former = m_Last.load(std::memory_order_relaxed);
        m_Last.store(new Entry{typeid(T), std::move(made), former}, std::memory_order_release);
        return object;
    }
    void clear()
    {
        // An object that goes may still look for those that came before it.
        while (Entry* last = m_Last.load(std::memory_order_relaxed)) {
            const std::unique_ptr<Entry> going(last);
            m_Last.store(last->former, std::memory_order_relaxed);
        }
    }

    Attachments(const Attachments&) = delete;
    Attachments& operator=(const Attachments&) = delete;

private:
    struct Entry {
        std::type_index type;
        std::shared_ptr<void> object;
        Entry* former;
    };
    std::atomic<Entry*> m_Last = nullptr;
    std::recursive_mutex m_Making;
};

} // namespace refhost
