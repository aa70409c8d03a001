// SPDX-License-Identifier: MIT
// JSON in flat memory: reading with exact places for messages, building, and a layout made for comparing
// versions.
#pragma once

#include <cstddef>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace refhost {

enum class JsonKind : std::uint8_t { Null, False, True, Number, String, Array, Object, Key };

/// Values stand one behind the other, a container before what is in it; members are a key followed by a
/// value. Nothing here recurses while reading, and memory grows with the text.
class JsonDocument {
public:
    using Index = std::uint32_t;

    JsonKind kind(Index node) const { return m_Nodes[node].kind; }
    bool isContainer(Index node) const
    {
        return kind(node) == JsonKind::Array || kind(node) == JsonKind::Object;
    }
    /// The characters of a string or key, and of a number as it was written.
    std::string_view text(Index node) const
    {
        return {m_Text.data() + m_Nodes[node].begin, m_Nodes[node].extent};
    }
    /// Behind the value and all that is in it: the next sibling, or the end of the container.
    Index next(Index node) const { return isContainer(node) ? m_Nodes[node].extent : node + 1; }
    /// First element or key of a container; equals next(node) when it is empty.
    Index first(Index node) const { return node + 1; }
    /// The value of this name in an object; nothing when it has no such member.
    std::optional<Index> member(Index object, std::string_view name) const;
    std::size_t size() const { return m_Nodes.size(); }

    /// A path such as `/items/17/parent`; `/` for the whole text. Takes time with the number of siblings.
    std::string pathOf(Index node) const;

    // Building: containers are opened and closed, in an object every value comes after its key.

    void beginArray() { open(JsonKind::Array); }
    void beginObject() { open(JsonKind::Object); }
    void end();
    void key(std::string_view name) { add(JsonKind::Key, name); }
    void string(std::string_view text) { add(JsonKind::String, text); }
    void boolean(bool on) { add(on ? JsonKind::True : JsonKind::False, {}); }
    void null() { add(JsonKind::Null, {}); }
    /// A finite number, as the shortest text that reads as the same one; the sign of zero is kept.
    void number(double value);
    void integer(std::uint64_t value);
    void integer(std::int64_t value);
    /// A number that is text already.
    void numberText(std::string_view text) { add(JsonKind::Number, text); }
    /// Copies a value of another document.
    void copy(const JsonDocument& from, Index node);

    /// More than two GiB were added; what came last is missing.
    bool isTooLarge() const { return m_TooLarge; }

    /// The text: what fits on a line of 110 columns stands on one; otherwise an object has a member per line,
    /// and an array an element per line, or lines filled with elements when these are numbers, texts and
    /// arrays.
    std::string layout() const;
    /// A value on one line.
    std::string inlineText(Index node) const;

private:
    struct Node {
        JsonKind kind;
        Index extent; // node behind a container, length of a text
        Index begin; // place of a text
    };
    void open(JsonKind kind);
    void add(JsonKind kind, std::string_view text);

    std::vector<Node> m_Nodes;
    std::string m_Text;
    std::vector<Index> m_Open;
    bool m_TooLarge = false;
};

/// Reads one JSON value. The answer is empty, or says line and column, what is wrong and what to do: broken
/// or cut off text, invalid UTF-8, more levels than allowed, a key that stands twice in its object.
std::string readJson(std::string_view text, int maximumLevels, JsonDocument& out);

} // namespace refhost
