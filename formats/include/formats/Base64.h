// SPDX-License-Identifier: MIT
// Bytes as text that any file may hold.
#pragma once

#include <optional>
#include <string>
#include <string_view>

namespace formats {

/// Letters, digits, + and /, padded with = to groups of four.
std::string base64Text(std::string_view bytes);
/// Nothing when the text is not exactly what base64Text writes for some bytes.
std::optional<std::string> base64Bytes(std::string_view text);
/// What a letter of it stands for, 0 to 63; -1 for other characters.
int base64Value(char letter);

} // namespace formats
