// SPDX-License-Identifier: MIT
// Messages to the terminal.
#include "shared/Console.h"

#include <fmt/format.h>

#include <algorithm>
#include <cmath>

namespace app {

namespace {

/// Bytes of the UTF-8 character at the head of `text`; 0 when there is none. Overlong forms, surrogates and
/// the C1 control range count as none.
std::size_t characterLength(std::string_view text)
{
    const auto lead = static_cast<unsigned char>(text.front());
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xF0 ? 4 : lead >= 0xE0 ? 3 : 2;
    if (lead < 0xC2 || lead > 0xF4 || text.size() < length)
        return 0;
    char32_t code = lead & (0xFFu >> (length + 1));
    for (std::size_t i = 1; i < length; ++i) {
        const auto byte = static_cast<unsigned char>(text[i]);
        if ((byte & 0xC0) != 0x80)
            return 0;
        code = (code << 6) | (byte & 0x3Fu);
    }
    constexpr char32_t kSmallest[] = {0, 0, 0xA0, 0x800, 0x10000};
    return code < kSmallest[length] || code > 0x10FFFF || (code >= 0xD800 && code < 0xE000) ? 0 : length;
}

} // namespace

std::string printable(std::string_view text)
{
    std::string out;
    while (!text.empty()) {
        const std::size_t length = characterLength(text);
        const auto lead = static_cast<unsigned char>(text.front());
        if (length == 0 || lead < 0x20 || lead == 0x7F)
            out += '?';
        else
            out += text.substr(0, length);
        text.remove_prefix(std::max<std::size_t>(length, 1));
    }
    return out;
}

std::string atLine(std::string_view file, std::size_t line, std::string_view text)
{
    return line == 0 ? fmt::format("{}: {}", file, text) : fmt::format("{}:{}: {}", file, line, text);
}

void complain(std::string_view text) { fmt::print(stderr, "sinew: {}\n", printable(text)); }

void print(std::string_view text, std::FILE* stream) { std::fwrite(text.data(), 1, text.size(), stream); }

std::string rounded(double value, int digits)
{
    if (!std::isfinite(value))
        return fmt::format("{}", value);
    if (value == 0)
        return "0";
    const int before = static_cast<int>(std::floor(std::log10(std::abs(value)))) + 1;
    if (before > 9 || before < -8)
        return fmt::format("{:.{}g}", value, digits);
    std::string text = fmt::format("{:.{}f}", value, std::max(0, digits - before));
    if (text.find('.') != std::string::npos) {
        text.erase(text.find_last_not_of('0') + 1);
        if (text.back() == '.')
            text.pop_back();
    }
    return text;
}

} // namespace app
