// SPDX-License-Identifier: MIT
// The string behind bone names.
#include "kit/KeyString.h"

#include <sinew/Allocator.h>

#include <cstring>

namespace Sinew {

KeyString& KeyString::operator=(const KeyString& other)
{
    if (this != &other)
        assign(other.c_str());
    return *this;
}

KeyString::~KeyString() { alignedFree(m_Characters); }

void KeyString::assign(const char* text)
{
    if (!text)
        return;
    const std::size_t size = std::strlen(text);
    char* characters = nullptr;
    if (size) {
        characters = static_cast<char*>(alignedAlloc(size + 1, kEngineAlignment));
        std::memcpy(characters, text, size + 1);
    }
    alignedFree(m_Characters);
    m_Characters = characters;
    m_Length = static_cast<std::uint32_t>(size);
}

int KeyString::compare(const KeyString& a, const KeyString& b)
{
    const char *p = a.c_str(), *q = b.c_str();
    while (*p == *q && *p) {
        ++p;
        ++q;
    }
    // NOLINTNEXTLINE(bugprone-signed-char-misuse): the order of signed bytes is what is wanted.
    const int left = static_cast<signed char>(*p), right = static_cast<signed char>(*q);
    return left < right ? -1 : left > right ? 1 : 0;
}

} // namespace Sinew
