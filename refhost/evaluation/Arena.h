// SPDX-License-Identifier: MIT
// Objects side by side in memory that stay where they are and go together.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdlib>
#include <new>
#include <sys/mman.h>
#include <utility>
#include <vector>

namespace refhost {

/// Neighbours in time of making are neighbours in memory, which is what makes a walk over many rigs fast.
/// Blocks double in size; the large ones ask for large pages, without which a hundred rigs spend their time
/// on page tables.
template <class T>
class Arena {
public:
    Arena() = default;
    ~Arena() { clear(); }

    template <class... A>
    T& emplace_back(A&&... arguments)
    {
        if (m_Blocks.empty() || m_Blocks.back().used == m_Blocks.back().capacity)
            addBlock();
        Block& block = m_Blocks.back();
        T* made = new (block.bytes + block.used * sizeof(T)) T(std::forward<A>(arguments)...);
        ++block.used;
        return *made;
    }
    template <class F>
    void forEach(F function)
    {
        for (const Block& block : m_Blocks)
            for (std::size_t i = 0; i < block.used; ++i)
                function(*std::launder(reinterpret_cast<T*>(block.bytes + i * sizeof(T))));
    }
    void clear()
    {
        forEach([](T& object) { object.~T(); });
        for (const Block& block : m_Blocks)
            std::free(block.bytes);
        m_Blocks.clear();
    }

    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;

private:
    struct Block {
        std::byte* bytes;
        std::size_t capacity, used;
    };
    static constexpr std::size_t kFirstBytes = 32 * 1024;
    static constexpr std::size_t kLargePage = 2 * 1024 * 1024;

    void addBlock()
    {
        // Block sizes are powers of two up to a large page, so that sizes and alignments agree.
        const std::size_t bytes =
            std::min(kFirstBytes << std::min<std::size_t>(m_Blocks.size(), 6), kLargePage);
        static_assert(sizeof(T) <= kFirstBytes && alignof(T) <= 64);
        m_Blocks.reserve(m_Blocks.size() + 1);
        void* memory = std::aligned_alloc(bytes == kLargePage ? kLargePage : 64, bytes);
        if (!memory)
            throw std::bad_alloc();
        if (bytes == kLargePage)
            (void)madvise(memory, bytes, MADV_HUGEPAGE); // a wish; without it all is the same, only slower
        m_Blocks.push_back({static_cast<std::byte*>(memory), bytes / sizeof(T), 0});
    }

    std::vector<Block> m_Blocks;
};

} // namespace refhost
