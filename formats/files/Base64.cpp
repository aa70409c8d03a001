// SPDX-License-Identifier: MIT
// Base64 with padding, three bytes to four characters.
#include "formats/Base64.h"

#include <array>
#include <cstddef>
#include <cstdint>

namespace formats {
namespace {

constexpr std::string_view kLetters = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";

constexpr std::array<std::int8_t, 256> kValues = [] {
    std::array<std::int8_t, 256> values{};
    values.fill(-1);
    for (std::size_t i = 0; i < kLetters.size(); ++i)
        values[static_cast<unsigned char>(kLetters[i])] = static_cast<std::int8_t>(i);
    return values;
}();

std::uint32_t byteAt(std::string_view bytes, std::size_t i)
{
    return i < bytes.size() ? static_cast<unsigned char>(bytes[i]) : 0;
}

} // namespace

int base64Value(char letter) { return kValues[static_cast<unsigned char>(letter)]; }

std::string base64Text(std::string_view bytes)
{
    std::string out;
    out.reserve((bytes.size() + 2) / 3 * 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::uint32_t group = byteAt(bytes, i) << 16 | byteAt(bytes, i + 1) << 8 | byteAt(bytes, i + 2);
        for (int shift = 18; shift >= 0; shift -= 6)
            out += kLetters[group >> shift & 63];
    }
    for (std::size_t pad = (3 - bytes.size() % 3) % 3, i = 0; i < pad; ++i)
        out[out.size() - 1 - i] = '=';
    return out;
}

std::optional<std::string> base64Bytes(std::string_view text)
{
    if (text.size() % 4 != 0)
        return std::nullopt;
    std::size_t pad = 0;
    while (pad < 2 && pad < text.size() && text[text.size() - 1 - pad] == '=')
        ++pad;
    std::string out;
    out.reserve(text.size() / 4 * 3);
    for (std::size_t i = 0; i < text.size(); i += 4) {
        std::uint32_t group = 0;
        for (std::size_t k = i; k < i + 4; ++k) {
            const int value = k >= text.size() - pad ? 0 : base64Value(text[k]);
            if (value < 0)
                return std::nullopt;
            group = group << 6 | static_cast<std::uint32_t>(value);
        }
        for (int shift = 16; shift >= 0; shift -= 8)
            out += static_cast<char>(group >> shift & 0xff);
    }
    // The bits below the last byte must be 0: otherwise two texts would stand for the same bytes.
    for (std::size_t i = 0; i < pad; ++i) {
        if (out.back() != 0)
            return std::nullopt;
        out.pop_back();
    }
    return out;
}

} // namespace formats
