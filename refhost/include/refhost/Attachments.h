// SPDX-License-Identifier: MIT
// Objects that other parts of the host hang on the host or on a scene, found by their class.
#pragma once

#include <memory>
#include <typeindex>
#include <utility>
#include <vector>

namespace refhost {

/// Holds at most one object per class; they go in the reverse order of coming.
class Attachments {
public:
    Attachments() = default;
    ~Attachments() { clear(); }

    /// Null when no such object was attached.
    template <class T>
    T* find() const
    {
        for (const Entry& entry : m_Entries) {
            if (entry.first == std::type_index(typeid(T)))
                return static_cast<T*>(entry.second.get());
        }
        return nullptr;
    }
    /// The object there is, or a new one made of the arguments.
    template <class T, class... A>
    T& require(A&&... arguments)
    {
        if (T* found = find<T>())
            return *found;
        auto made = std::make_shared<T>(std::forward<A>(arguments)...);
        T& object = *made;
        m_Entries.emplace_back(std::type_index(typeid(T)), std::move(made));
        return object;
    }
    void clear()
    {
        while (!m_Entries.empty())
            m_Entries.pop_back();
    }

    Attachments(const Attachments&) = delete;
    Attachments& operator=(const Attachments&) = delete;

private:
    using Entry = std::pair<std::type_index, std::shared_ptr<void>>;
    std::vector<Entry> m_Entries;
};

} // namespace refhost
