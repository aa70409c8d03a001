// SPDX-License-Identifier: MIT
// A growable array of pointers from the engine's allocator. Capacity grows by eight entries at a time.
#pragma once

#include <sinew/Allocator.h>

#include <cstdint>
#include <cstring>

namespace Sinew {

template <class T>
class PointerArray {
public:
    PointerArray() = default;
    PointerArray(const PointerArray&) = delete;
    PointerArray& operator=(const PointerArray&) = delete;
    ~PointerArray() { alignedFree(m_Items); }

    std::uint32_t count() const { return m_Count; }
    T* operator[](std::uint32_t i) const { return m_Items[i]; }
    T** data() const { return m_Items; }
    T** begin() const { return m_Items; }
    T** end() const { return m_Items + m_Count; }

    void append(T* item)
    {
        reserve(m_Count + 1);
        m_Items[m_Count++] = item;
    }
    /// Takes out entry `i`; the others keep their order.
    void removeAt(std::uint32_t i)
    {
        std::memmove(m_Items + i, m_Items + i + 1, (m_Count - i - 1) * sizeof(T*));
        --m_Count;
    }
    /// Empties the array and keeps its memory.
    void clear() { m_Count = 0; }
    void reserve(std::uint32_t count)
    {
        if (count <= m_Capacity)
            return;
        const std::uint32_t capacity = (count + 7u) / 8u * 8u;
        T** items = static_cast<T**>(alignedAlloc(capacity * sizeof(T*), kEngineAlignment));
        if (m_Count)
            std::memcpy(items, m_Items, m_Count * sizeof(T*));
        alignedFree(m_Items);
        m_Items = items;
        m_Capacity = capacity;
    }

private:
    std::uint32_t m_Count = 0;
    std::uint32_t m_Capacity = 0;
    T** m_Items = nullptr;
};

} // namespace Sinew
