// SPDX-License-Identifier: MIT
// Words, quotes and comments of a command line; numbers that read back as they were.
#include "commands/CommandText.h"

#include "scene/ExactText.h"

#include <charconv>
#include <cmath>

namespace refhost {
namespace {

bool isBlank(char c) { return c == ' ' || c == '\t'; }
bool isLetter(char c) { return (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z'); }
bool isDigit(char c) { return c >= '0' && c <= '9'; }
bool isWordCharacter(char c) { return isLetter(c) || isDigit(c) || c == '.' || c == '_' || c == '-'; }

/// Bytes of the UTF-8 character at `text[at]`; 0 for a broken one.
std::size_t characterLength(std::string_view text, std::size_t at)
{
    const auto byte = [&](std::size_t i) { return static_cast<unsigned char>(text[at + i]); };
    if (byte(0) < 0x80)
        return 1;
    const std::size_t length = byte(0) >= 0xF0 ? 4 : byte(0) >= 0xE0 ? 3 : 2;
    if (byte(0) < 0xC2 || byte(0) > 0xF4 || text.size() - at < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i) {
        if ((byte(i) & 0xC0) != 0x80)
            return 0;
    }
    // Longer forms than needed, halves of pairs, and beyond the last character.
    const bool broken = (byte(0) == 0xE0 && byte(1) < 0xA0) || (byte(0) == 0xED && byte(1) > 0x9F)
        || (byte(0) == 0xF0 && byte(1) < 0x90) || (byte(0) == 0xF4 && byte(1) > 0x8F);
    return broken ? 0 : length;
}

std::string atCharacter(std::size_t index) { return "Character " + std::to_string(index + 1) + ": "; }

std::string checkCharacters(std::string_view line)
{
    for (std::size_t i = 0; i < line.size();) {
        const std::size_t length = characterLength(line, i);
        if (length == 0)
            return atCharacter(i) + "the line is no UTF-8 text. Save the script as UTF-8.";
        const auto c = static_cast<unsigned char>(line[i]);
        if ((c < 0x20 && c != '\t') || c == 0x7F) {
            return atCharacter(i)
                + "a control character. One line is one command; in a quoted value a line end is written "
                  "\\n.";
        }
        i += length;
    }
    return {};
}

class LineReader {
public:
    explicit LineReader(std::string_view line) : m_Line(line) { }

    ResultOf<CommandText> read()
    {
        CommandText text;
        skipBlanks();
        if (atEnd() || m_Line[m_At] == '#')
            return {text, {}};
        while (!atEnd() && !isBlank(m_Line[m_At]))
            text.command += m_Line[m_At++];
        while (m_Fault.empty()) {
            skipBlanks();
            if (atEnd() || isComment())
                return {std::move(text), {}};
            text.words.push_back(word());
        }
        return ResultOf<CommandText>::failure(std::move(m_Fault));
    }

private:
    bool atEnd() const { return m_At >= m_Line.size(); }
    void skipBlanks()
    {
        while (!atEnd() && isBlank(m_Line[m_At]))
            ++m_At;
    }
    bool isComment() const
    {
        return m_Line[m_At] == '#' && !(m_At + 1 < m_Line.size() && isDigit(m_Line[m_At + 1]));
    }

    CommandWord word()
    {
        CommandWord word;
        std::size_t end = m_At;
        if (isLetter(m_Line[end])) {
            while (end < m_Line.size() && isWordCharacter(m_Line[end]))
                ++end;
        }
        if (end > m_At && end < m_Line.size() && m_Line[end] == ':') {
            word.name = m_Line.substr(m_At, end - m_At);
            m_At = end + 1;
        }
        word.value = value();
        return word;
    }

    std::string value()
    {
        if (!atEnd() && m_Line[m_At] == '"')
            return quoted();
        if (!atEnd() && m_Line[m_At] == '\'')
            return literal();
        std::string text;
        while (!atEnd() && !isBlank(m_Line[m_At]))
            text += m_Line[m_At++];
        return text;
    }

    std::string quoted()
    {
        const std::size_t start = m_At++;
        std::string text;
        for (; !atEnd() && m_Line[m_At] != '"'; ++m_At) {
            char c = m_Line[m_At];
            if (c == '\\') {
                c = m_At + 1 < m_Line.size() ? m_Line[++m_At] : ' ';
                if (c == 'n')
                    c = '\n';
                else if (c == 't')
                    c = '\t';
                else if (c != '"' && c != '\\') {
                    m_Fault = atCharacter(m_At)
                        + R"(after a backslash stands one of " \ n t. Write \\ for a backslash, or quote with '.)";
                    return {};
                }
            }
            text += c;
        }
        close(start, '"');
        return text;
    }

    std::string literal()
    {
        const std::size_t start = m_At++;
        std::string text;
        while (!atEnd() && m_Line[m_At] != '\'')
            text += m_Line[m_At++];
        close(start, '\'');
        return text;
    }

    void close(std::size_t start, char quote)
    {
        if (atEnd()) {
            m_Fault = atCharacter(start) + "this " + quote
                + " has no partner on the line. Close the value with " + quote + ".";
            return;
        }
        ++m_At;
        if (!atEnd() && !isBlank(m_Line[m_At]))
            m_Fault = atCharacter(m_At) + "a blank is missing behind the closing " + quote + ".";
    }

    std::string_view m_Line;
    std::size_t m_At = 0;
    std::string m_Fault;
};

} // namespace

ResultOf<CommandText> parseCommandText(std::string_view line)
{
    if (std::string fault = checkCharacters(line); !fault.empty())
        return ResultOf<CommandText>::failure(std::move(fault));
    return LineReader(line).read();
}

bool isCommandWord(std::string_view text)
{
    if (text.empty() || !isLetter(text.front()))
        return false;
    for (const char c : text) {
        if (!isWordCharacter(c))
            return false;
    }
    return true;
}

std::optional<double> numberFromText(std::string_view text)
{
    if (text.size() > 1 && text.front() == '+' && text[1] != '-')
        text.remove_prefix(1);
    double value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size() || !std::isfinite(value))
        return std::nullopt;
    return value;
}

std::optional<std::int32_t> integerFromText(std::string_view text)
{
    if (text.size() > 1 && text.front() == '+' && text[1] != '-')
        text.remove_prefix(1);
    std::int32_t value = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), value);
    if (error != std::errc() || end != text.data() + text.size())
        return std::nullopt;
    return value;
}

std::optional<std::vector<double>> numbersFromText(std::string_view text)
{
    std::vector<double> numbers;
    for (std::size_t at = 0; (at = text.find_first_not_of(' ', at)) != std::string_view::npos;) {
        const std::size_t end = std::min(text.find(' ', at), text.size());
        const auto number = numberFromText(text.substr(at, end - at));
        if (!number)
            return std::nullopt;
        numbers.push_back(*number);
        at = end;
    }
    return numbers;
}

std::optional<bool> booleanFromText(std::string_view text)
{
    for (const char* word : {"true", "on", "yes", "1"}) {
        if (text == word)
            return true;
    }
    for (const char* word : {"false", "off", "no", "0"}) {
        if (text == word)
            return false;
    }
    return std::nullopt;
}

std::string quotedWhereNeeded(std::string_view text)
{
    bool plain = !text.empty() && text.front() != '"' && text.front() != '\'' && text.front() != '#';
    for (const char c : text)
        plain = plain && static_cast<unsigned char>(c) > 0x20 && c != ':';
    if (plain)
        return std::string(text);
    std::string out = "\"";
    for (const char c : text) {
        if (c == '"' || c == '\\')
            out += '\\';
        if (c == '\n')
            out += "\\n";
        else if (c == '\t')
            out += "\\t";
        else
            out += c;
    }
    return out + '"';
}

std::string shown(std::string_view text)
{
    constexpr std::size_t kLongest = 80;
    if (text.size() <= kLongest)
        return "'" + std::string(text) + "'";
    std::size_t end = kLongest;
    while (end > 0 && (static_cast<unsigned char>(text[end]) & 0xC0) == 0x80)
        --end;
    return "'" + std::string(text.substr(0, end)) + "...'";
}

std::string matrixRowText(const Matrix34& matrix, int row)
{
    if (row == 3)
        return "0 0 0 1";
    std::string text;
    for (int column = 0; column < 3; ++column)
        text += exactText(matrix.linear[row][column]) + ' ';
    return text + exactText(matrix.offset[static_cast<std::size_t>(row)]);
}

} // namespace refhost
