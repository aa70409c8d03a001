// SPDX-License-Identifier: MIT
// Edit distance between a typed word and the words that there are.
#include "refhost/NearMiss.h"

#include <algorithm>

namespace refhost {
namespace {

// A longer word is no typing slip, and comparing it with thousands of names would take long.
constexpr std::size_t kLongestWord = 64;

std::string lowered(std::string_view text)
{
    std::string out(text);
    for (char& c : out) {
        if (c >= 'A' && c <= 'Z')
            c = static_cast<char>(c - 'A' + 'a');
    }
    return out;
}

} // namespace

NearMiss::NearMiss(std::string_view typed)
    : m_Typed(lowered(typed.substr(0, kLongestWord + 1))), m_Limit(m_Typed.size() / 3 + 2)
{
}

void NearMiss::offer(std::string_view candidate)
{
    const std::size_t typedSize = m_Typed.size(), size = candidate.size();
    if (m_Limit == 0 || typedSize > kLongestWord || size > kLongestWord
        || std::max(typedSize, size) - std::min(typedSize, size) >= m_Limit)
        return;
    const std::string other = lowered(candidate);
    m_Row.resize(typedSize + 1);
    for (std::size_t i = 0; i <= typedSize; ++i)
        m_Row[i] = i;
    for (std::size_t j = 1; j <= size; ++j) {
        std::size_t diagonal = m_Row[0];
        m_Row[0] = j;
        for (std::size_t i = 1; i <= typedSize; ++i) {
            const std::size_t replaced = diagonal + (m_Typed[i - 1] == other[j - 1] ? 0 : 1);
            diagonal = m_Row[i];
            m_Row[i] = std::min({replaced, m_Row[i] + 1, m_Row[i - 1] + 1});
        }
    }
    // All letters differ: short words would suggest each other.
    if (m_Row[typedSize] >= std::max(typedSize, size) || m_Row[typedSize] >= m_Limit)
        return;
    m_Limit = m_Row[typedSize];
    m_Best = candidate;
}

std::string NearMiss::question() const
{
    return m_Best.empty() ? std::string() : " Did you mean '" + m_Best + "'?";
}

} // namespace refhost
