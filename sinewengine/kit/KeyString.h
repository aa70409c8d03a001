// SPDX-License-Identifier: MIT
// An owned, NUL-terminated string from the engine's allocator.
#pragma once

#include <cstdint>

namespace Sinew {

class KeyString {
public:
    KeyString() = default;
    explicit KeyString(const char* text) { assign(text); }
    KeyString(const KeyString& other) { assign(other.m_Characters); }
    KeyString& operator=(const KeyString& other);
    ~KeyString();

    /// Copies the characters; null leaves the string as it was.
    void assign(const char* text);

    /// Never null: "" when empty.
    const char* c_str() const { return m_Characters ? m_Characters : ""; }
    std::uint32_t length() const { return m_Length; }
    bool empty() const { return m_Length == 0; }

    /// -1, 0 or 1 like strcmp, but bytes count as signed: 128 and above sort before ASCII and before the end.
    static int compare(const KeyString& a, const KeyString& b);

private:
    char* m_Characters = nullptr; ///< null when empty
    std::uint32_t m_Length = 0;
};

} // namespace Sinew
