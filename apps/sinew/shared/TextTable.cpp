// SPDX-License-Identifier: MIT
// Widths first, then rows.
#include "shared/TextTable.h"

#include <algorithm>

namespace app {

namespace {

struct Range {
    char32_t first, last;
};

// Characters that terminals draw two columns wide: scripts of East Asia, and pictures.
constexpr Range kWide[] = {{0x1100, 0x115F},   {0x2E80, 0x303E},   {0x3041, 0xA4CF},  {0xAC00, 0xD7A3},
                           {0xF900, 0xFAFF},   {0xFE30, 0xFE6F},   {0xFF00, 0xFF60},  {0xFFE0, 0xFFE6},
                           {0x1F300, 0x1F64F}, {0x1F900, 0x1F9FF}, {0x20000, 0x3FFFD}};
constexpr Range kMarks[] = {{0x0300, 0x036F}, {0x200B, 0x200F}, {0x20D0, 0x20FF}, {0xFE00, 0xFE0F}};

template <std::size_t Count>
bool isIn(const Range (&ranges)[Count], char32_t code)
{
    return std::any_of(std::begin(ranges), std::end(ranges),
                       [&](const Range& range) { return code >= range.first && code <= range.last; });
}

} // namespace

std::size_t displayWidth(std::string_view text)
{
    std::size_t width = 0;
    for (std::size_t i = 0; i < text.size();) {
        char32_t code = static_cast<unsigned char>(text[i++]);
        if (code >= 0xC0)
            code &= code >= 0xF0 ? 0x07 : code >= 0xE0 ? 0x0F : 0x1F;
        while (i < text.size() && (static_cast<unsigned char>(text[i]) & 0xC0) == 0x80)
            code = code << 6 | (static_cast<unsigned char>(text[i++]) & 0x3F);
        width += isIn(kMarks, code) ? 0 : isIn(kWide, code) ? 2 : 1;
    }
    return width;
}

TextTable::TextTable(std::vector<Column> columns, std::size_t indent)
    : m_Columns(std::move(columns)), m_Indent(indent)
{
    std::vector<std::string> heads;
    for (const Column& column : m_Columns)
        heads.push_back(column.head);
    if (std::any_of(heads.begin(), heads.end(), [](const std::string& head) { return !head.empty(); }))
        add(std::move(heads));
}

void TextTable::add(std::vector<std::string> cells)
{
    cells.resize(m_Columns.size());
    m_Rows.push_back(std::move(cells));
}

std::string TextTable::text() const
{
    std::vector<std::size_t> widths;
    for (std::size_t c = 0; c < m_Columns.size(); ++c) {
        widths.push_back(m_Columns[c].least);
        for (const std::vector<std::string>& row : m_Rows)
            widths[c] = std::max(widths[c], displayWidth(row[c]));
    }
    std::string out;
    for (const std::vector<std::string>& row : m_Rows) {
        std::string line(m_Indent, ' ');
        for (std::size_t c = 0; c < row.size(); ++c) {
            const std::string space(widths[c] - displayWidth(row[c]), ' ');
            line += c == 0 ? "" : "  ";
            line += m_Columns[c].align == Align::Left ? row[c] + space : space + row[c];
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out += line + '\n';
    }
    return out;
}

} // namespace app
