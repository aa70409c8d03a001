// SPDX-License-Identifier: MIT
// Reads base64 as other programs do: blanks, percent codes and what follows the padding do no harm, but are
// told.
#include "gltf/DataUri.h"

#include "bvh/BvhText.h"
#include "formats/Base64.h"
#include "gltf/GltfContainer.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace formats {

namespace {

class Base64Reader {
public:
    explicit Base64Reader(DataUri& out) : m_Out(out) { }

    void read(std::string_view text)
    {
        std::string plain;
        if (text.find('%') != std::string_view::npos) {
            plain = withoutPercentCodes(text);
            text = plain;
            tell("has percent codes in its base64");
        }
        m_Out.bytes.reserve(text.size() / 4 * 3);
        tellRest(text, letters(text));
    }

private:
    void tell(std::string oddity) { m_Out.oddities.push_back(std::move(oddity)); }

    /// Takes letters up to the padding, or to the first character that is none; where that stands.
    std::size_t letters(std::string_view text)
    {
        bool hasOther = false;
        std::size_t at = 0;
        for (; at < text.size(); ++at) {
            const char c = text[at];
            const bool isOther = c == '-' || c == '_';
            if (isSpace(c))
                continue;
            const int value = base64Value(c == '-' ? '+' : c == '_' ? '/' : c);
            if (value < 0)
                break;
            hasOther |= isOther;
            take(static_cast<std::uint32_t>(value));
        }
        if (hasOther)
            tell("has base64 with - and _ in the place of + and /");
        return at;
    }

    void take(std::uint32_t sixBits)
    {
        ++m_Letters;
        m_Bits = (m_Bits << 6 | sixBits) & 0xFFFF;
        m_BitCount += 6;
        if (m_BitCount < 8)
            return;
        m_BitCount -= 8;
        m_Out.bytes += static_cast<char>(m_Bits >> m_BitCount & 0xFF);
    }

    void tellRest(std::string_view text, std::size_t end)
    {
        std::size_t pads = 0;
        std::size_t at = end;
        for (; at < text.size() && (text[at] == '=' || isSpace(text[at])); ++at)
            pads += text[at] == '=';
        if (std::any_of(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(at), isSpace))
            tell("has blanks or line ends in its base64");
        const std::size_t due = (4 - m_Letters % 4) % 4;
        if (at < text.size()) {
            m_Out.isCut = true;
            tell("has text behind its base64: " + std::to_string(text.size() - at) + " characters from the "
                 + std::to_string(at + 1) + ". on are left out");
        } else if (pads != due && due < 3) {
            tell("has base64 with " + std::to_string(pads) + " '=' at its end, where " + std::to_string(due)
                 + " are due");
        }
        if (due == 3 || (m_Bits & ((1u << m_BitCount) - 1)) != 0)
            tell("has base64 that ends within a byte");
    }

    DataUri& m_Out;
    std::size_t m_Letters = 0;
    std::uint32_t m_Bits = 0;
    unsigned m_BitCount = 0;
};

} // namespace

std::optional<DataUri> readDataUri(std::string_view uri)
{
    constexpr std::string_view kEncoding = ";base64";
    const std::size_t comma = uri.find(','), colon = uri.find(':');
    if (!isDataUri(uri) || comma == std::string_view::npos || comma < kEncoding.size() + colon
        || !equalsIgnoringCase(uri.substr(comma - kEncoding.size(), kEncoding.size()), kEncoding))
        return std::nullopt;
    DataUri out;
    const std::string_view type = uri.substr(colon + 1, comma - colon - 1);
    out.mediaType = type.substr(0, type.find(';'));
    for (char& c : out.mediaType)
        c = c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
    Base64Reader(out).read(uri.substr(comma + 1));
    return out;
}

} // namespace formats
