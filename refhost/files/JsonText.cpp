// SPDX-License-Identifier: MIT
// Flat JSON documents: building, paths and layout.
#include "files/JsonText.h"

#include "scene/ExactText.h"

#include <cmath>

namespace refhost {
namespace {

constexpr std::size_t kLineWidth = 110;
constexpr std::size_t kIndent = 2;
constexpr std::size_t kLargestText = std::size_t{1} << 31; // places are 32 bits wide
constexpr const char* kWords[] = {"null", "false", "true"};

bool needsEscape(char c) { return c == '"' || c == '\\' || static_cast<unsigned char>(c) < 0x20; }

void appendQuoted(std::string& out, std::string_view text)
{
    constexpr const char* kHex = "0123456789abcdef";
    out += '"';
    std::size_t plain = 0;
    for (std::size_t i = 0; i < text.size(); ++i) {
        const char c = text[i];
        if (!needsEscape(c))
            continue;
        out.append(text, plain, i - plain);
        plain = i + 1;
        out += '\\';
        switch (c) {
        case '"':
        case '\\':
            out += c;
            break;
        case '\n':
            out += 'n';
            break;
        case '\r':
            out += 'r';
            break;
        case '\t':
            out += 't';
            break;
        default:
            out += "u00";
            out += kHex[static_cast<unsigned char>(c) >> 4];
            out += kHex[static_cast<unsigned char>(c) & 15];
        }
    }
    out.append(text, plain);
    out += '"';
}

/// Columns that a text takes, quotes included; what matters is that it depends on nothing but the text.
std::size_t quotedWidth(std::string_view text)
{
    std::size_t width = 2;
    for (const char c : text)
        width += needsEscape(c) ? (c == '"' || c == '\\' || c == '\n' || c == '\r' || c == '\t' ? 2 : 6) : 1;
    return width;
}

/// Lays a document out. Recursion is as deep as the brackets, which readers and writers limit.
class Layout {
public:
    explicit Layout(const JsonDocument& document) : m_Document(document) { }

    std::string whole()
    {
        measure();
        value(0, 0, 0);
        m_Out += '\n';
        return std::move(m_Out);
    }
    std::string line(JsonDocument::Index node)
    {
        flat(node);
        return std::move(m_Out);
    }

private:
    using Index = JsonDocument::Index;

    // Widths on one line, from the back: those of the elements are known before that of their container.
    void measure()
    {
        m_Widths.resize(m_Document.size());
        for (std::size_t i = m_Widths.size(); i-- > 0;) {
            const auto node = static_cast<Index>(i);
            switch (m_Document.kind(node)) {
            case JsonKind::Array:
            case JsonKind::Object: {
                std::size_t width = 2;
                for (Index child = m_Document.first(node); child != m_Document.next(node);
                     child = m_Document.next(child))
                    width += m_Widths[child] + 2; // with its comma and space, or colon and space
                m_Widths[i] = width > 2 ? width - 2 : width;
                break;
            }
            case JsonKind::Key:
            case JsonKind::String:
                m_Widths[i] = quotedWidth(m_Document.text(node));
                break;
            case JsonKind::Number:
                m_Widths[i] = m_Document.text(node).size();
                break;
            default:
                m_Widths[i] = 5;
            }
        }
    }

    void scalar(Index node)
    {
        const JsonKind kind = m_Document.kind(node);
        if (kind == JsonKind::Key || kind == JsonKind::String)
            appendQuoted(m_Out, m_Document.text(node));
        else if (kind == JsonKind::Number)
            m_Out += m_Document.text(node);
        else
            m_Out += kWords[static_cast<int>(kind)];
    }

    void flat(Index node)
    {
        if (!m_Document.isContainer(node))
            return scalar(node);
        const bool object = m_Document.kind(node) == JsonKind::Object;
        m_Out += object ? '{' : '[';
        for (Index child = m_Document.first(node); child != m_Document.next(node);
             child = m_Document.next(child)) {
            if (child != m_Document.first(node))
                m_Out += ", ";
            if (object) {
                scalar(child++);
                m_Out += ": ";
            }
            flat(child);
        }
        m_Out += object ? '}' : ']';
    }

    void newLine(std::size_t indent)
    {
        m_Out += '\n';
        m_Out.append(indent, ' ');
    }

    bool isFilled(Index array) const
    {
        for (Index child = m_Document.first(array); child != m_Document.next(array);
             child = m_Document.next(child)) {
            if (m_Document.kind(child) == JsonKind::Object)
                return false;
        }
        return true;
    }

    /// `column` is where the value begins.
    void value(Index node, std::size_t indent, std::size_t column)
    {
        if (!m_Document.isContainer(node) || m_Document.first(node) == m_Document.next(node)
            || column + m_Widths[node] <= kLineWidth)
            return flat(node);
        const bool object = m_Document.kind(node) == JsonKind::Object;
        const bool filled = !object && isFilled(node);
        const std::size_t inside = indent + kIndent;
        std::size_t at = 0; // column behind what stands on the line; 0 asks for a new line
        m_Out += object ? '{' : '[';
        for (Index child = m_Document.first(node); child != m_Document.next(node);
             child = m_Document.next(child)) {
            const bool isFirst = child == m_Document.first(node);
            if (!isFirst)
                m_Out += ',';
            if (filled && at > 0 && at + 3 + m_Widths[child] <= kLineWidth) {
                m_Out += ' ';
                at += 2;
            } else {
                newLine(inside);
                at = inside;
            }
            if (object) {
                scalar(child);
                m_Out += ": ";
                at += m_Widths[child] + 2;
                ++child;
            }
            const bool fits = at + m_Widths[child] <= kLineWidth;
            value(child, inside, at);
            at = fits ? at + m_Widths[child] : 0;
        }
        newLine(indent);
        m_Out += object ? '}' : ']';
    }

    const JsonDocument& m_Document;
    std::vector<std::size_t> m_Widths;
    std::string m_Out;
};

} // namespace

std::optional<JsonDocument::Index> JsonDocument::member(Index object, std::string_view name) const
{
    for (Index key = first(object); key != next(object); key = next(key + 1)) {
        if (text(key) == name)
            return key + 1;
    }
    return std::nullopt;
}

std::string JsonDocument::pathOf(Index node) const
{
    std::string path;
    for (Index container = 0; container < node && isContainer(container);) {
        const bool object = kind(container) == JsonKind::Object;
        std::size_t place = 0;
        Index child = first(container);
        Index value = object ? child + 1 : child;
        while (next(value) <= node) {
            child = next(value);
            value = object ? child + 1 : child;
            ++place;
        }
        path += '/';
        if (object) {
            for (const char c : text(child)) {
                if (c == '~' || c == '/')
                    path += c == '~' ? "~0" : "~1";
                else
                    path += c;
            }
        } else {
            path += std::to_string(place);
        }
        container = value; // behind the node when that is a key
    }
    return path.empty() ? "/" : path;
}

void JsonDocument::open(JsonKind kind)
{
    m_Open.push_back(static_cast<Index>(m_Nodes.size()));
    m_Nodes.push_back({kind, 0, 0});
}

void JsonDocument::end()
{
    m_Nodes[m_Open.back()].extent = static_cast<Index>(m_Nodes.size());
    m_Open.pop_back();
}

void JsonDocument::add(JsonKind kind, std::string_view text)
{
    m_TooLarge = m_TooLarge || m_Text.size() + text.size() > kLargestText || m_Nodes.size() >= kLargestText;
    if (m_TooLarge)
        text = {};
    m_Nodes.push_back({kind, static_cast<Index>(text.size()), static_cast<Index>(m_Text.size())});
    m_Text += text;
}

void JsonDocument::number(double value)
{
    if (value == 0 && std::signbit(value))
        return numberText("-0.0"); // `-0` would be read as a whole number, which has no signed zero
    numberText(exactText(value));
}

void JsonDocument::integer(std::uint64_t value) { numberText(std::to_string(value)); }

void JsonDocument::integer(std::int64_t value) { numberText(std::to_string(value)); }

void JsonDocument::copy(const JsonDocument& from, Index node)
{
    const auto shift = static_cast<Index>(m_Nodes.size()) - node;
    for (Index i = node; i < from.next(node); ++i) {
        if (from.isContainer(i))
            m_Nodes.push_back({from.kind(i), from.next(i) + shift, 0});
        else
            add(from.kind(i), from.text(i));
    }
}

std::string JsonDocument::layout() const { return Layout(*this).whole(); }

std::string JsonDocument::inlineText(Index node) const { return Layout(*this).line(node); }

} // namespace refhost
