// SPDX-License-Identifier: MIT
// JSON as the subcommands write it: fields in the order given, valid whatever bytes a file name holds.
#pragma once

#include <nlohmann/json.hpp>

#include <string>

namespace app {

using Json = nlohmann::ordered_json;

/// One field or element per line at the outer levels would make large files; this is indented and ends in a
/// line end. Bytes that are not UTF-8 become the replacement character.
inline std::string jsonText(const Json& json, int indent = 1)
{
    return json.dump(indent, ' ', false, Json::error_handler_t::replace) + '\n';
}

} // namespace app
