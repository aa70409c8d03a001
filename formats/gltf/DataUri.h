// SPDX-License-Identifier: MIT
// Data URIs: bytes that stand in the document itself.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace formats {

struct DataUri {
    std::string mediaType; ///< in lower case, without parameters; empty when there is none
    std::string bytes;
    std::vector<std::string> oddities; ///< what is not as it has to be, each to go on after the URI's place
    bool isCut = false; ///< a character that is no base64 stands before the end, so that bytes may be missing
};

/// What can be read of a data URI; nothing when it is not in base64.
std::optional<DataUri> readDataUri(std::string_view uri);

} // namespace formats
