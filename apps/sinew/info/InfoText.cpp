// SPDX-License-Identifier: MIT
// Indents and pose tables.
#include "info/InfoText.h"

#include "shared/Console.h"
#include "shared/TextTable.h"

#include <fmt/format.h>

#include <algorithm>

namespace app {

std::string indentedName(const std::string& name, std::size_t level)
{
    // A hierarchy may be a thousand levels deep; the indent stops where it would only push the text away.
    return std::string(std::min<std::size_t>(level, 30) * 2, ' ') + printable(name);
}

std::string poseTable(const std::vector<std::string>& names, const std::vector<formats::WorldPose>& world)
{
    std::vector<TextTable::Column> columns(8, {"", TextTable::Align::Right});
    columns.front().align = TextTable::Align::Left;
    TextTable table(std::move(columns));
    for (std::size_t i = 0; i < names.size(); ++i) {
        std::vector<std::string> cells = {names[i]};
        for (const double x : world[i].position)
            cells.push_back(fmt::format("{:.4f}", x));
        for (const double x : world[i].rotation)
            cells.push_back(fmt::format("{:.5f}", x));
        table.add(std::move(cells));
    }
    return table.text();
}

} // namespace app
