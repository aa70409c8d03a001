// SPDX-License-Identifier: MIT
// Tables for the terminal whose columns stay columns, however long a name is and whatever script it is in.
#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

namespace app {

/// Columns that a printable text takes on a terminal: two for wide characters, none for combining marks.
std::size_t displayWidth(std::string_view text);

class TextTable {
public:
    enum class Align { Left, Right };
    struct Column {
        std::string head;
        Align align = Align::Left;
        std::size_t least = 0; ///< columns of the terminal that it takes at least
    };

    /// Rows begin with `indent` spaces; columns are two apart. With no heads at all there is no line of them.
    explicit TextTable(std::vector<Column> columns, std::size_t indent = 2);

    /// Cells beyond those given are empty.
    void add(std::vector<std::string> cells);
    /// Lines without spaces at their ends.
    std::string text() const;

private:
    std::vector<Column> m_Columns;
    std::vector<std::vector<std::string>> m_Rows;
    std::size_t m_Indent;
};

} // namespace app
