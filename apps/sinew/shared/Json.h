// SPDX-License-Identifier: MIT
// JSON as the subcommands write it: fields in the order given, valid whatever bytes a file name holds.
#pragma once

#include <nlohmann/json.hpp>

#include <string>
#include <string_view>

namespace app {

using Json = nlohmann::ordered_json;

/// One field or element per line at the outer levels would make large files; this is indented and ends in a
/// line end. Bytes that are not UTF-8 become the replacement character.
inline std::string jsonText(const Json& json, int indent = 1)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + '\n';
}

/// The value that a text holds; a discarded one where the text is no JSON, or nested deeper than anything
/// written here.
inline Json parsedJson(std::string_view text)
{
    constexpr int kMostLevels = 64;
    bool isDeep = false;
    const auto look = [&](int depth, Json::parse_event_t, Json&) {
        return !(isDeep = isDeep || depth > kMostLevels);
    };
    Json value = Json::parse(text, look, false);
    return isDeep ? Json(Json::value_t::discarded) : value;
}

} // namespace app
