// SPDX-License-Identifier: MIT
// Text to flat JSON documents.
#include "files/JsonText.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace refhost {
namespace {

std::string placeOfByte(std::string_view text, std::size_t byte)
{
    byte = std::min(byte, text.size());
    const std::string_view before = text.substr(0, byte);
    const auto line = std::count(before.begin(), before.end(), '\n') + 1;
    const std::size_t lineStart = before.rfind('\n') + 1; // 0 on the first line
    // Columns count characters, not bytes.
    const auto column = std::count_if(before.begin() + static_cast<std::ptrdiff_t>(lineStart), before.end(),
                                      [](char c) { return (static_cast<unsigned char>(c) & 0xc0) != 0x80; })
        + 1;
    return "line " + std::to_string(line) + ", column " + std::to_string(column) + ": ";
}

/// Byte of the bracket that goes too deep, or npos. Where quotes are out of order the parser finds the fault
/// first.
std::size_t tooDeep(std::string_view text, int maximumLevels)
{
    int level = 0;
    bool quoted = false;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (quoted) {
            if (c == '\\')
                ++i;
            else if (c == '"')
                quoted = false;
        } else if (c == '"') {
            quoted = true;
        } else if (c == '[' || c == '{') {
            if (++level > maximumLevels)
                return i;
        } else if (c == ']' || c == '}') {
            --level;
        }
    }
    return std::string_view::npos;
}

class Handler {
public:
    using number_integer_t = nlohmann::json::number_integer_t;
    using number_unsigned_t = nlohmann::json::number_unsigned_t;
    using number_float_t = nlohmann::json::number_float_t;
    using string_t = nlohmann::json::string_t;
    using binary_t = nlohmann::json::binary_t;

    Handler(std::string_view text, JsonDocument& out) : m_Text(text), m_Out(out) { }

    bool null() { return m_Out.null(), true; }
    bool boolean(bool on) { return m_Out.boolean(on), true; }
    bool number_integer(number_integer_t value) { return m_Out.integer(value), true; }
    bool number_unsigned(number_unsigned_t value) { return m_Out.integer(value), true; }
    bool number_float(number_float_t, const string_t& digits)
    {
        std::string plain = digits;
        std::replace(plain.begin(), plain.end(), ',', '.'); // the lexer follows the locale
        return m_Out.numberText(plain), true;
    }
    bool string(string_t& text) { return m_Out.string(text), true; }
    bool binary(binary_t&) { return false; }
    bool start_object(std::size_t) { return m_Out.beginObject(), true; }
    bool key(string_t& name) { return m_Out.key(name), true; }
    bool end_object() { return m_Out.end(), true; }
    bool start_array(std::size_t) { return m_Out.beginArray(), true; }
    bool end_array() { return m_Out.end(), true; }
    bool parse_error(std::size_t byte, const std::string&, const nlohmann::json::exception& fault)
    {
        const std::string_view what = fault.what();
        if (byte >= m_Text.size() && what.find("unexpected end of input") != std::string_view::npos) {
            m_Message = placeOfByte(m_Text, m_Text.size())
                + "the text ends too early; it is cut off: get a whole copy";
        } else if (fault.id == 406) {
            m_Message =
                placeOfByte(m_Text, byte) + "a number is too large for any computation; make it smaller";
        } else {
            // Its own place is said already; the rest names what was expected.
            const std::size_t start = what.find(": ", what.find("column"));
            m_Message = placeOfByte(m_Text, byte > 0 ? byte - 1 : 0) + "this is no JSON: "
                + std::string(start == std::string_view::npos ? what : what.substr(start + 2));
        }
        return false;
    }

    const std::string& message() const { return m_Message; }

private:
    std::string_view m_Text;
    JsonDocument& m_Out;
    std::string m_Message;
};

std::string doubledKey(const JsonDocument& document)
{
    std::vector<std::string_view> names;
    for (JsonDocument::Index node = 0; node < document.size(); ++node) {
        if (document.kind(node) != JsonKind::Object)
            continue;
        names.clear();
        for (auto key = document.first(node); key != document.next(node); key = document.next(key + 1))
            names.push_back(document.text(key));
        std::sort(names.begin(), names.end());
        if (const auto twin = std::adjacent_find(names.begin(), names.end()); twin != names.end())
            return document.pathOf(node) + ": the key '" + std::string(*twin) + "' stands twice; remove one";
    }
    return {};
}

} // namespace

std::string readJson(std::string_view text, int maximumLevels, JsonDocument& out)
{
    if (const std::size_t byte = tooDeep(text, maximumLevels); byte != std::string_view::npos)
        return placeOfByte(text, byte) + "brackets stand more than " + std::to_string(maximumLevels)
            + " levels deep; nothing in this format needs as many";
    Handler handler(text, out);
    if (!nlohmann::json::sax_parse(text.begin(), text.end(), &handler))
        return handler.message().empty() ? std::string("the text cannot be read") : handler.message();
    return doubledKey(out);
}

} // namespace refhost
