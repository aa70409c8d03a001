// SPDX-License-Identifier: MIT
// Numbers as text that reads back as the same bits.
#pragma once

#include <charconv>
#include <string>

namespace refhost {

/// The shortest text that reads back as the same number.
inline std::string exactText(double number)
{
    char text[32];
    const auto end = std::to_chars(text, text + sizeof text, number);
    return {text, end.ptr};
}

} // namespace refhost
