// SPDX-License-Identifier: MIT
// Objects side by side in memory that stay where they are and go together.
#pragma once

#include <cstddef>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace refhost {

/// Neighbours in time of making are neighbours in memory, which is what makes a walk over many rigs fast.
template <class T>
class Arena {
public:
    Arena() = default;
    ~Arena() { clear(); }

    template <class... A>
    T& emplace_back(A&&... arguments)
    {
        if (m_Blocks.empty() || m_Used == kBlockSize) {
            m_Blocks.push_back(std::make_unique_for_overwrite<Slot[]>(kBlockSize));
            m_Used = 0;
        }
        T* made = new (m_Blocks.back()[m_Used].bytes) T(std::forward<A>(arguments)...);
        ++m_Used;
        return *made;
    }
    template <class F>
    void forEach(F function)
    {
        for (std::size_t b = 0; b < m_Blocks.size(); ++b) {
            const std::size_t used = b + 1 == m_Blocks.size() ? m_Used : kBlockSize;
            for (std::size_t i = 0; i < used; ++i)
                function(*std::launder(reinterpret_cast<T*>(m_Blocks[b][i].bytes)));
        }
    }
    void clear()
    {
        forEach([](T& object) { object.~T(); });
        m_Blocks.clear();
        m_Used = 0;
    }

    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

private:
    static constexpr std::size_t kBlockSize = 128;
    struct Slot {
        alignas(T) std::byte bytes[sizeof(T)];
    };
    std::vector<std::unique_ptr<Slot[]>> m_Blocks;
    std::size_t m_Used = 0;
};

} // namespace refhost
