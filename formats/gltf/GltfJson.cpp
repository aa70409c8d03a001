// SPDX-License-Identifier: MIT
// The JSON of a glTF file: parsing it within limits, and reading values from it with every check and a path.
#include "gltf/GltfJson.h"

#include "bvh/BvhText.h"

#include <cmath>
#include <vector>

namespace formats {

namespace {

// What the deepest and largest characters have is some 20 levels and 200,000 values.
constexpr std::size_t kMostLevels = 256;
constexpr std::size_t kMostValues = 1'000'000;
constexpr std::size_t kLongestPath = 240;
constexpr double kExactIntegers = 9007199254740992.0; // 2^53

/// Builds the document from the parser's events; a fault ends the parsing with a place and a reason.
class Builder {
public:
    using number_integer_t = Json::number_integer_t;
    using number_unsigned_t = Json::number_unsigned_t;
    using number_float_t = Json::number_float_t;
    using string_t = Json::string_t;
    using binary_t = Json::binary_t;

    explicit Builder(std::size_t firstByte) : m_FirstByte(firstByte) { }

    bool null() { return add(nullptr); }
    bool boolean(bool value) { return add(value); }
    bool number_integer(number_integer_t value) { return add(value); }
    bool number_unsigned(number_unsigned_t value) { return add(value); }
    bool number_float(number_float_t value, const string_t&) { return add(value); }
    bool string(string_t& value) { return add(std::move(value)); }
    bool binary(binary_t&) { return false; }
    bool start_object(std::size_t) { return open(Json::object()); }
    bool start_array(std::size_t) { return open(Json::array()); }
    bool end_object() { return close(); }
    bool end_array() { return close(); }
    bool key(string_t& name)
    {
        const auto [at, isNew] = m_Open.back().json->get_ref<Json::object_t&>().try_emplace(name, nullptr);
        m_Open.back().key = &at->first;
        m_Slot = &at->second;
        return isNew || fail(path(), "the key stands twice in its object; remove one");
    }
    bool parse_error(std::size_t byte, const std::string&, const nlohmann::json::exception& fault)
    {
        const std::string_view what = fault.what();
        const std::string place = "byte " + std::to_string(m_FirstByte + (byte > 0 ? byte - 1 : 0));
        if (fault.id == 406)
            return fail(place, "a number is too large for any computation");
        if (what.find("unexpected end of input") != std::string_view::npos)
            return fail(place, "the JSON ends too early; the file is cut off: get a whole copy");
        if (what.find("ill-formed UTF-8") != std::string_view::npos)
            return fail(place, "a text is not UTF-8; write the file again with a program that keeps to glTF");
        const std::size_t start = what.find(": ", what.find("column"));
        return fail(place,
                    "this is no JSON: "
                        + std::string(start == std::string_view::npos ? what : what.substr(start + 2)));
    }

    Json take() { return std::move(m_Root); }
    GltfRefusal refusal() { return std::move(m_Refusal); }

private:
    struct Level {
        Json* json;
        const std::string* key = nullptr;
    };

    std::string path() const
    {
        std::string path;
        for (const Level& level : m_Open) {
            if (path.size() > kLongestPath)
                return path + "...";
            if (level.json->is_array())
                path += '[' + std::to_string(level.json->empty() ? 0 : level.json->size() - 1) + ']';
            else if (level.key != nullptr)
                path += (path.empty() ? "" : ".") + pathKey(*level.key);
        }
        return path;
    }

    bool fail(std::string place, std::string reason)
    {
        m_Refusal = {std::move(place), std::move(reason)};
        return false;
    }

    Json* place(Json value)
    {
        if (m_Open.empty()) {
            m_Root = std::move(value);
            return &m_Root;
        }
        if (m_Open.back().json->is_object()) {
            *m_Slot = std::move(value);
            return m_Slot;
        }
        auto& elements = m_Open.back().json->get_ref<Json::array_t&>();
        elements.push_back(std::move(value));
        return &elements.back();
    }

    bool add(Json value)
    {
        place(std::move(value));
        return ++m_Values <= kMostValues
            || fail(path(), "the file has more than 1,000,000 JSON values; nothing that moves needs as many");
    }

    bool open(Json value)
    {
        m_Open.push_back({place(std::move(value))});
        if (m_Open.size() > kMostLevels)
            return fail(path(), "brackets stand more than 256 levels deep; nothing in glTF needs as many");
        return ++m_Values <= kMostValues
            || fail(path(), "the file has more than 1,000,000 JSON values; nothing that moves needs as many");
    }

    bool close()
    {
        m_Open.pop_back();
        return true;
    }

    std::size_t m_FirstByte;
    std::size_t m_Values = 0;
    Json m_Root;
    std::vector<Level> m_Open;
    Json* m_Slot = nullptr;
    GltfRefusal m_Refusal;
};

/// Refuses words outside of texts (numbers, that is) that are absurdly long: the parser keeps several copies.
void checkWords(std::string_view text, std::size_t firstByte)
{
    constexpr std::size_t kLongestWord = 1024;
    bool inText = false;
    std::size_t start = 0; // of the word
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (inText) {
            i += c == '\\';
            inText = c != '"';
            start = i + 1;
        } else if (std::string_view("\",:[]{}").find(c) != std::string_view::npos || isSpace(c)) {
            inText = c == '"';
            start = i + 1;
        } else if (i - start > kLongestWord) {
            refuse("byte " + std::to_string(firstByte + start), "a number has more than 1,024 digits");
        }
    }
}

std::string kindOf(const Json& json)
{
    if (json.is_string())
        return formats::quoted(json.get_ref<const std::string&>());
    if (json.is_structured())
        return json.is_array() ? "an array" : "an object";
    return json.dump();
}

} // namespace

void refuse(std::string place, std::string reason) { throw GltfRefusal{std::move(place), std::move(reason)}; }

std::string pathKey(std::string_view key)
{
    constexpr std::size_t kLongest = 60;
    if (key.size() <= kLongest)
        return std::string(key);
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(key[end]) & 0xC0) == 0x80) // not inside a character
        --end;
    return std::string(key.substr(0, end)) + "...";
}

Json parseGltfJson(std::string_view text, std::size_t firstByte)
{
    Builder builder(firstByte);
    // The parser takes a zero byte for the end of its input.
    if (const std::size_t zero = text.find('\0'); zero != std::string_view::npos)
        refuse("byte " + std::to_string(firstByte + zero), "a zero byte stands in the JSON");
    checkWords(text, firstByte);
    if (!Json::sax_parse(text.begin(), text.end(), &builder))
        throw builder.refusal();
    return builder.take();
}

std::string JsonView::childPath(std::string_view key) const
{
    return m_Path.empty() ? std::string(key) : m_Path + "." + std::string(key);
}

std::optional<JsonView> JsonView::find(const char* key) const
{
    const auto& fields = object().json().get_ref<const Json::object_t&>();
    const auto found = fields.find(key);
    if (found == fields.end())
        return std::nullopt;
    return JsonView(found->second, childPath(key));
}

JsonView JsonView::at(const char* key) const
{
    std::optional<JsonView> found = find(key);
    if (!found)
        refuse(childPath(key), "is missing, and glTF demands it");
    return *std::move(found);
}

JsonView JsonView::operator[](std::size_t index) const
{
    return {m_Json->get_ref<const Json::array_t&>()[index], m_Path + "[" + std::to_string(index) + "]"};
}

std::size_t JsonView::size() const
{
    if (!m_Json->is_array())
        refuse(m_Path, "must be an array, but is " + kindOf(*m_Json));
    return m_Json->size();
}

const JsonView& JsonView::object() const
{
    if (!m_Json->is_object())
        refuse(m_Path, "must be an object, but is " + kindOf(*m_Json));
    return *this;
}

const std::string& JsonView::text() const
{
    if (!m_Json->is_string())
        refuse(m_Path, "must be a text, but is " + kindOf(*m_Json));
    return m_Json->get_ref<const std::string&>();
}

bool JsonView::boolean() const
{
    if (!m_Json->is_boolean())
        refuse(m_Path, "must be true or false, but is " + kindOf(*m_Json));
    return m_Json->get<bool>();
}

double JsonView::number() const
{
    if (!m_Json->is_number())
        refuse(m_Path, "must be a number, but is " + kindOf(*m_Json));
    const double value = m_Json->get<double>();
    if (!(std::abs(value) <= kLargestValue))
        refuse(m_Path, "is larger than any motion: " + kindOf(*m_Json));
    return value;
}

std::uint64_t JsonView::integer(std::uint64_t most) const
{
    std::optional<std::uint64_t> value;
    if (m_Json->is_number_unsigned()) {
        value = m_Json->get<std::uint64_t>();
    } else if (m_Json->is_number_float()) { // 3.0 and 3e0 are whole too
        const double number = m_Json->get<double>();
        if (number >= 0 && number <= kExactIntegers && number == std::floor(number))
            value = static_cast<std::uint64_t>(number);
    }
    if (!value)
        refuse(m_Path, "must be a whole number from 0 up, but is " + kindOf(*m_Json));
    if (*value > most)
        refuse(m_Path, "is " + std::to_string(*value) + ", but can be " + std::to_string(most) + " at most");
    return *value;
}

std::size_t JsonView::index(std::size_t count, const char* of) const
{
    constexpr std::uint64_t kAny = ~std::uint64_t{0};
    const std::uint64_t value = integer(kAny);
    if (value >= count)
        refuse(m_Path,
               "is " + std::to_string(value) + ", but the file has "
                   + (count == 0 ? "no " : std::to_string(count) + " ") + of);
    return static_cast<std::size_t>(value);
}

void JsonView::numbers(std::span<double> out) const
{
    if (size() != out.size())
        refuse(m_Path,
               "must have " + std::to_string(out.size()) + " numbers, but has " + std::to_string(size()));
    for (std::size_t i = 0; i < out.size(); ++i)
        out[i] = (*this)[i].number();
}

std::size_t JsonView::countOf(const char* key) const
{
    const std::optional<JsonView> found = find(key);
    return found ? found->size() : 0;
}

std::uint64_t JsonView::integerOr(const char* key, std::uint64_t fallback, std::uint64_t most) const
{
    const std::optional<JsonView> found = find(key);
    return found ? found->integer(most) : fallback;
}

std::string JsonView::textOr(const char* key, std::string fallback) const
{
    const std::optional<JsonView> found = find(key);
    return found ? found->text() : fallback;
}

} // namespace formats
